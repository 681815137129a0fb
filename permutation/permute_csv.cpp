// Delimited lines with their fields in platform order.

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "kyv/connection_permutation.h"
#include "services/byte_search.h"

namespace {

using kyv_internal::ByteSearch;
using kyv_internal::kSearchBlock;

constexpr std::size_t kMostFields = 999;

// Where the fields of a line begin, found in one pass which reads nothing outside the line.
class FieldTable {
 public:
  // False when there are more than kMostFields.
  bool read(std::string_view line, char separator) {
    const ByteSearch search(separator);
    begins_[0] = line.data();
    const char* const end = line.data() + line.size();
    const char* block = line.data();
    for (; static_cast<std::size_t>(end - block) >= kSearchBlock; block += kSearchBlock) {
      if (!add(block, search.inBlock(block))) return false;
    }
    if (!add(block, lastBlock(search, block, static_cast<std::size_t>(end - block)))) return false;
    begins_[count_] = end + 1;
    return true;
  }

  std::size_t count() const { return count_; }
  const char* begin(std::size_t field) const { return begins_[field]; }
  std::size_t size(std::size_t field) const {
    return static_cast<std::size_t>(begins_[field + 1] - begins_[field]) - 1;
  }

 private:
  // The separators in what is left of a line, less than a block.
  static std::uint64_t lastBlock(const ByteSearch& search, const char* bytes, std::size_t size) {
    char block[kSearchBlock];
    std::memcpy(block, bytes, size);
    return search.inBlock(block) & ((std::uint64_t{1} << size) - 1);
  }

  bool add(const char* block, std::uint64_t separators) {
    if (count_ + static_cast<std::size_t>(std::popcount(separators)) > kMostFields) return false;
    for (; separators != 0; separators &= separators - 1) {
      begins_[count_++] = block + std::countr_zero(separators) + 1;
    }
    return true;
  }

  std::size_t count_ = 1;
  std::array<const char*, kMostFields + 1> begins_;  // and where one behind the last would
};

// Copies the text to `out` and returns its end there.
char* put(std::string_view text, char* out) {
  std::memcpy(out, text.data(), text.size());
  return out + text.size();
}

// The bytes of a line before the separator behind its two service fields; npos without one.
std::size_t serviceSize(std::string_view line, char separator) {
  const std::size_t first = line.find(separator);
  return first == std::string_view::npos ? first : line.find(separator, first + 1);
}

}  // namespace

char* ConnectionPermutation::putCsvIn(std::string_view line, char separator, bool withService, char* out,
                                      bool& good) const {
  good = direct;
  if (direct) return put(line, out);
  if (failed) return out;
  if (withService) {
    const std::size_t size = serviceSize(line, separator);
    if (size == std::string_view::npos) return out;
    out = put(line.substr(0, size), out);
    line.remove_prefix(size + 1);
  }
  return putFields(line, separator, withService, out, good);
}

char* ConnectionPermutation::putFields(std::string_view line, char separator, bool withService, char* out,
                                       bool& good) const {
  FieldTable fields;
  if (!fields.read(line, separator)) return out;
  for (std::size_t i = 0; i < platOrder.size(); ++i) {
    const std::int32_t field = i < extOfPlat_.size() ? extOfPlat_[i] : -1;
    if (field >= 0 && static_cast<std::size_t>(field) >= fields.count()) return out;
    // Required as is: an empty first field has a separator before it even where no service fields are.
    if (field < 0 || i > 0 || withService) *out++ = separator;
    if (field >= 0)
      out = put({fields.begin(static_cast<std::size_t>(field)), fields.size(static_cast<std::size_t>(field))}, out);
  }
  good = true;
  return out;
}

bool ConnectionPermutation::permuteCsvIn(const char* line, char separator, bool withService, char* out) const {
  bool good;
  *putCsvIn(line, separator, withService, out, good) = '\0';
  return good;
}

bool ConnectionPermutation::appendCsvIn(std::string_view line, char separator, bool withService,
                                        kyv::ByteBuffer& out) const {
  bool good;
  char* const begin = out.prepare(line.size() + platOrder.size());
  char* const end = putCsvIn(line, separator, withService, begin, good);
  if (good) out.commit(static_cast<std::size_t>(end - begin));
  return good;
}
