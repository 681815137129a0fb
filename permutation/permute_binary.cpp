// Compact binary records with their columns in another order.

#include <cstdlib>
#include <cstring>

#include "kyv/connection_permutation.h"
#include "kyv/string_utility.h"
#include "permutation/compact_row_layout.h"
#include "services/malloc_ptr.h"

namespace {

using DALVON::Kyv::strprintf;
using kyv_internal::at;
using kyv_internal::compactEntryOffset;
using kyv_internal::CompactReader;
using kyv_internal::store;

constexpr int kNoColumn = -1;

// The size of the record that permute() writes.
template <class ColumnOf>
std::int64_t sizeOf(const CompactReader& input, int outCount, ColumnOf columnOf) {
  auto size = static_cast<std::int64_t>(compactEntryOffset(static_cast<std::size_t>(outCount)));
  for (int i = 0; i < outCount && size <= kyv_internal::kMostCompactBytes; ++i) {
    size += static_cast<std::int64_t>(input.column(columnOf(i)).size());
  }
  return size;
}

template <class ColumnOf>
void fill(const CompactReader& input, int outCount, ColumnOf columnOf, unsigned char* out) {
  auto end = static_cast<std::int32_t>(compactEntryOffset(static_cast<std::size_t>(outCount)));
  for (int i = 0; i < outCount; ++i) {
    const auto value = input.column(columnOf(i));
    store(at(out, compactEntryOffset(static_cast<std::size_t>(i))), value.empty() ? 0 : end);
    if (value.empty()) continue;
    std::memcpy(out + end, value.data(), value.size());
    end += static_cast<std::int32_t>(value.size());
  }
}

// `columnOf` gives an output position's input column; below 0 there is none.
template <class ColumnOf>
bool permute(const void* row, void** out, int outCount, int inCount, ColumnOf columnOf) {
  *out = nullptr;
  const CompactReader input(row, inCount);
  const std::int64_t size = sizeOf(input, outCount, columnOf);
  if (size > kyv_internal::kMostCompactBytes) return false;
  auto* const record = static_cast<unsigned char*>(std::malloc(static_cast<std::size_t>(size)));
  if (record == nullptr) return false;
  store(record + kyv_internal::kCompactLengthOffset, static_cast<std::int32_t>(size));
  store(record + kyv_internal::kCompactTagOffset, input.tag());
  fill(input, outCount, columnOf, record);
  *out = record;
  return true;
}

bool validateOffsets(const CompactReader& record, std::size_t table, std::string& error) {
  std::size_t least = table;
  for (std::size_t column = 0; column < record.columns(); ++column) {
    const std::int32_t offset = record.entry(column);
    if (offset == 0) continue;
    if (offset < 0 || static_cast<std::size_t>(offset) < least || static_cast<std::size_t>(offset) > record.length()) {
      error = strprintf("compact record has the offset %d at column %zu, which is not between %zu and %zu", offset,
                        column, least, record.length());
      return false;
    }
    least = static_cast<std::size_t>(offset);
  }
  return true;
}

int countOf(const std::vector<std::string>& order) {
  return static_cast<int>(std::min<std::size_t>(order.size(), INT32_MAX));
}

// The rule of a lookup by position, with the pairs in a table.
class ColumnOf {
 public:
  ColumnOf(const ConnectionPermutation& permutation, const std::vector<std::int32_t>& table)
      : table_(table.data()), size_(permutation.isFailed() ? 0 : table.size()), isDirect_(permutation.isDirect()) {}

  int operator()(int position) const {
    if (isDirect_) return position;
    return static_cast<std::size_t>(position) < size_ ? table_[position] : kNoColumn;
  }

 private:
  const std::int32_t* table_;
  std::size_t size_;
  bool isDirect_;
};

}  // namespace

bool ConnectionPermutation::permuteBinaryRow(void* row, void** out, int outCount, int inCount,
                                             bool (*map)(const ConnectionPermutation*, int, int*)) const {
  return permute(row, out, std::max(outCount, 0), inCount, [this, map](int position) {
    int column = kNoColumn;
    return map(this, position, &column) ? column : kNoColumn;
  });
}

bool ConnectionPermutation::permuteBinaryRowOut(void* row, void** out) const {
  return permute(row, out, countOf(extOrder), countOf(platOrder), ColumnOf(*this, platOfExt_));
}

bool ConnectionPermutation::permuteBinaryRowIn(void* row, void** out) const {
  return permute(row, out, countOf(platOrder), countOf(extOrder), ColumnOf(*this, extOfPlat_));
}

bool ConnectionPermutation::validateBinaryRow(const void* bytes, std::size_t size, int columns, std::string& error) {
  const std::size_t table = compactEntryOffset(static_cast<std::size_t>(std::max(columns, 0)));
  if (size < table) {
    error = strprintf("compact record is too short for %d columns: %zu bytes instead of at least %zu", columns, size,
                      table);
    return false;
  }
  const auto length = kyv_internal::load<std::int32_t>(at(bytes, kyv_internal::kCompactLengthOffset));
  if (length < 0 || static_cast<std::size_t>(length) < table || static_cast<std::size_t>(length) > size) {
    error = strprintf("compact record claims %d bytes, which is not between %zu and %zu", length, table, size);
    return false;
  }
  return validateOffsets(CompactReader(bytes, columns), table, error);
}
