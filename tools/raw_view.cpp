#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <vector>

#include "kyv/row2.h"
#include "record_view.h"
#include "row2/row2_layout.h"

namespace kyv_internal {
namespace {

// A file in memory. What was written is there after close().
class MemoryFile {
 public:
  MemoryFile() : file_(::open_memstream(&text_, &size_)) {
    if (file_ == nullptr) throw std::bad_alloc();
  }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;
  ~MemoryFile() {
    if (file_ != nullptr) std::fclose(file_);
    std::free(text_);
  }

  std::FILE* file() const { return file_; }

  std::string close() {
    std::fclose(file_);
    file_ = nullptr;
    return {text_, size_};
  }

 private:
  char* text_ = nullptr;
  std::size_t size_ = 0;
  std::FILE* file_;
};

class RawView final : public RecordView {
 public:
  // A dump believes a record's length word, so of one that is cut off no more is asked for than is there.
  std::string record(const RecordMap& map, std::uint64_t /*number*/, std::uint64_t /*position*/) const override {
    std::vector<char> bytes(map.bytes.begin(), map.bytes.end());
    const auto offsets = (std::max(bytes.size(), kTableOffset) - kTableOffset) / kEntrySize;
    const auto there = static_cast<int>(bytes.size());
    bytes.resize(std::max(bytes.size(), payloadOffset(0)));
    MemoryFile out;
    Row2::dumpRow2(out.file(), static_cast<const Row2*>(static_cast<const void*>(bytes.data())), there,
                   static_cast<int>(offsets));
    return out.close();
  }
};

}  // namespace

std::unique_ptr<RecordView> makeRawView() { return std::make_unique<RawView>(); }

}  // namespace kyv_internal
