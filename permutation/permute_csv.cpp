// Delimited lines with their fields in platform order.

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <span>

#include "kyv/connection_permutation.h"
#include "services/byte_search.h"
#include "services/short_copy.h"

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
    for (; separators != 0; separators &= separators - 1) {
      begins_[count_++] = block + std::countr_zero(separators) + 1;
    }
    return count_ <= kMostFields;
  }

  std::size_t count_ = 1;
  std::array<const char*, kMostFields + kSearchBlock> begins_;  // and where one behind the last would
};

// Lines, and how their fields are put in order.
struct LineOrder {
  std::size_t columns;                    // of the platform order
  std::span<const std::int32_t> fieldOf;  // each of them; negative for one without a pair, as are those that it lacks
  char separator;
  bool withService;
};

// A place in the output, and the end of the room there.
struct Output {
  char* at;
  const char* end;

  void put(const char* from, const char* fromEnd, std::size_t size) {
    at = kyv_internal::copyPiece(from, fromEnd, size, at, end);
  }
};

// The bytes of a line before the separator behind its two service fields; npos without one.
std::size_t serviceSize(std::string_view line, char separator) {
  const std::size_t first = line.find(separator);
  return first == std::string_view::npos ? first : line.find(separator, first + 1);
}

// False, with what was written up to there, when a field is missing.
bool putPairedFields(const LineOrder& order, const FieldTable& fields, const char* lineEnd, Output& output) {
  Output out = output;  // one that no byte written can be taken to change
  std::size_t column = 0;
  for (; column < order.columns; ++column) {
    const std::int32_t paired = column < order.fieldOf.size() ? order.fieldOf[column] : -1;
    const auto field = static_cast<std::size_t>(paired);
    if (paired >= 0 && field >= fields.count()) break;
    // Required as is: an empty first field has a separator before it even where no service fields are.
    if (paired < 0 || column > 0 || order.withService) *out.at++ = order.separator;
    if (paired >= 0) out.put(fields.begin(field), lineEnd, fields.size(field));
  }
  output = out;
  return column == order.columns;
}

bool putFields(const LineOrder& order, std::string_view line, Output& out) {
  FieldTable fields;
  return fields.read(line, order.separator) && putPairedFields(order, fields, line.data() + line.size(), out);
}

// Without a terminator.
bool putLine(const LineOrder& order, std::string_view line, Output& out) {
  if (order.withService) {
    const std::size_t size = serviceSize(line, order.separator);
    if (size == std::string_view::npos) return false;
    out.put(line.data(), line.data() + line.size(), size);
    line.remove_prefix(size + 1);
  }
  return putFields(order, line, out);
}

}  // namespace

bool ConnectionPermutation::permuteCsvIn(const char* line, char separator, bool withService, char* out) const {
  const std::string_view text(line);
  Output output{out, out + text.size() + platOrder.size() + 1};
  bool good = direct;
  if (direct) {
    output.put(line, line + text.size(), text.size());
  } else if (!failed) {
    good = putLine({platOrder.size(), extOfPlat_, separator, withService}, text, output);
  }
  *output.at = '\0';
  return good;
}

bool ConnectionPermutation::appendCsvIn(std::string_view line, char separator, bool withService,
                                        kyv::ByteBuffer& out) const {
  if (direct) out.append(line);
  if (direct || failed) return direct;
  if (line.empty()) line = "";  // which has an address
  const std::size_t room = line.size() + platOrder.size();
  char* const begin = out.prepare(room);
  Output output{begin, begin + room};
  if (!putLine({platOrder.size(), extOfPlat_, separator, withService}, line, output)) return false;
  out.commit(static_cast<std::size_t>(output.at - begin));
  return true;
}
