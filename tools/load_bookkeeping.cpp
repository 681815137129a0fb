#include "load_bookkeeping.h"

#include <cstdlib>

#include "kyv/data_types.h"

namespace kyv_internal {
namespace {

// Where GDSupport puts its text.
class GivenText {
 public:
  GivenText() = default;
  GivenText(const GivenText&) = delete;
  GivenText& operator=(const GivenText&) = delete;
  ~GivenText() { delete[] text_; }

  char** out() { return &text_; }
  // False when there is one, which is copied.
  bool isNone(std::string& error) const {
    if (text_ != nullptr) error = text_;
    return text_ == nullptr;
  }

 private:
  char* text_ = nullptr;
};

}  // namespace

SchemaFile LoadBookkeeping::schema(const std::string& stream) {
  SchemaFile schema;
  schema.stream = stream;
  schema.columns = {{"Slot", DataTypes::kInteger}, {"Key", DataTypes::kLong}, {"Truncate", DataTypes::kBoolean}};
  schema.key = {"Slot"};
  return schema;
}

LoadBookkeeping::~LoadBookkeeping() { support_.deleteGDSupport(nullptr); }

bool LoadBookkeeping::open(const std::string& stream, const std::string& project, std::string& error) {
  const std::size_t colon = project.rfind(':');
  const int number = std::atoi(project.c_str() + colon + 1);  // digits, as the command line has made sure
  GivenText text;
  support_.createGDSupport(stream.c_str(), project.substr(0, colon).c_str(), number, text.out());
  return text.isNone(error);
}

bool LoadBookkeeping::read(long long& key, std::string& error) {
  GivenText text;
  key = support_.getLastProcessedGDKey(text.out());
  return text.isNone(error);
}

bool LoadBookkeeping::write(long long key, bool isComplete, std::string& error) {
  GivenText text;
  support_.updateTruncateStream(key, isComplete, text.out());
  return text.isNone(error);
}

}  // namespace kyv_internal
