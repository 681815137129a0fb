#include "load_check.h"

#include <algorithm>
#include <vector>

#include "kyv/connection_row.h"
#include "record_header.h"

namespace kyv_internal {
namespace {

class LoadCheck {
 public:
  LoadCheck(const SchemaFile& schema, const std::string& deliveryKey) : isLog_(schema.key.empty()) {
    for (std::size_t i = 0; i < schema.columns.size(); ++i) {
      const std::string& name = schema.columns[i].name;
      const bool isKey = std::find(schema.key.begin(), schema.key.end(), name) != schema.key.end();
      if (isKey || name == deliveryKey) needed_.push_back({static_cast<int>(i), isKey});
    }
  }

  std::optional<Objection> operator()(std::string_view record) const {
    const std::int32_t operation = recordOperation(record.data());
    if (isLog_ && operation != StreamInterface::Insert && operation != StreamInterface::Upsert) {
      return Objection{"a stream without a key takes no updates and no deletes"};
    }
    for (const Needed& needed : needed_) {
      if (recordOffset(record.data(), needed.column) == 0) return objectionTo(needed);
    }
    return std::nullopt;
  }

 private:
  struct Needed {
    int column;
    bool isKey;  // of the stream
  };

  static Objection objectionTo(const Needed& needed) {
    return {needed.isKey ? "a key cannot be NULL" : "a delivery key cannot be NULL", needed.column};
  }

  bool isLog_;
  std::vector<Needed> needed_;
};

}  // namespace

RecordCheck loadCheck(const SchemaFile& schema, const std::string& deliveryKey) {
  return LoadCheck(schema, deliveryKey);
}

}  // namespace kyv_internal
