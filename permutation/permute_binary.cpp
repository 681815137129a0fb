// Compact binary records with their columns in another order.

#include <cstdlib>
#include <cstring>

#include "kyv/connection_permutation.h"
#include "kyv/string_utility.h"
#include "permutation/compact_row_layout.h"
#include "services/malloc_ptr.h"
#include "services/short_copy.h"

namespace {

using DALVON::Kyv::strprintf;
using kyv_internal::at;
using kyv_internal::compactEntryOffset;
using kyv_internal::CompactExtent;
using kyv_internal::CompactHeader;
using kyv_internal::MallocPtr;
using kyv_internal::store;

constexpr int kNoColumn = -1;
constexpr std::size_t kUsualColumns = 1024;

// The extents of an input record's columns, and behind them one of no bytes, for all columns that are not there.
class InputColumns {
 public:
  InputColumns(const void* record, int columns) : header_(record, columns) {
    if (header_.columns() >= kUsualColumns) {
      many_.reset(static_cast<CompactExtent*>(std::malloc((header_.columns() + 1) * sizeof(CompactExtent))));
      extents_ = many_.get();
      if (extents_ == nullptr) return;
    }
    sum_ = kyv_internal::findExtents(header_, extents_);
    extents_[header_.columns()] = {};
  }
  InputColumns(const InputColumns&) = delete;
  InputColumns& operator=(const InputColumns&) = delete;

  // False when memory is exhausted.
  bool found() const { return extents_ != nullptr; }
  const CompactHeader& header() const { return header_; }
  std::int64_t sumOfSizes() const { return sum_; }
  CompactExtent operator[](int column) const {
    return extents_[std::min(static_cast<std::size_t>(column), header_.columns())];
  }

 private:
  CompactHeader header_;
  CompactExtent usual_[kUsualColumns];
  MallocPtr<CompactExtent> many_;
  CompactExtent* extents_ = usual_;
  std::int64_t sum_ = 0;
};

template <class ColumnOf>
std::int64_t sumOfSizes(const InputColumns& input, int outCount, ColumnOf columnOf) {
  std::int64_t sum = 0;
  for (int i = 0; i < outCount; ++i) sum += input[columnOf(i)].size;
  return sum;
}

template <class ColumnOf>
void fill(const InputColumns& input, int outCount, ColumnOf columnOf, char* out, std::size_t size) {
  const char* const record = input.header().bytes();
  const char* const recordEnd = record + input.header().length();
  char* value = out + compactEntryOffset(static_cast<std::size_t>(outCount));
  for (int i = 0; i < outCount; ++i) {
    const CompactExtent extent = input[columnOf(i)];
    store(out + compactEntryOffset(static_cast<std::size_t>(i)),
          extent.size != 0 ? static_cast<std::int32_t>(value - out) : 0);
    value = kyv_internal::copyPiece(record + extent.begin, recordEnd, extent.size, value, out + size);
  }
}

// `columnOf` gives an output position's input column; below 0 there is none.
template <class ColumnOf>
bool permute(const void* row, void** out, int outCount, int inCount, ColumnOf columnOf) {
  *out = nullptr;
  const InputColumns input(row, inCount);
  if (!input.found()) return false;
  const std::int64_t size = static_cast<std::int64_t>(compactEntryOffset(static_cast<std::size_t>(outCount))) +
                            (columnOf.takesAll() ? input.sumOfSizes() : sumOfSizes(input, outCount, columnOf));
  if (size > kyv_internal::kMostCompactBytes) return false;
  auto* const record = static_cast<char*>(std::malloc(static_cast<std::size_t>(size)));
  if (record == nullptr) return false;
  store(record + kyv_internal::kCompactLengthOffset, static_cast<std::int32_t>(size));
  store(record + kyv_internal::kCompactTagOffset, input.header().tag());
  fill(input, outCount, columnOf, record, static_cast<std::size_t>(size));
  *out = record;
  return true;
}

bool validateOffsets(const CompactHeader& record, std::size_t table, std::string& error) {
  std::size_t least = table;
  const std::size_t length = record.length();
  for (std::size_t column = 0; column < record.columns(); ++column) {
    const std::int32_t offset = record.entry(column);
    if (offset == 0) continue;
    if (offset < 0 || static_cast<std::size_t>(offset) < least || static_cast<std::size_t>(offset) > length) {
      error = strprintf("compact record has the offset %d at column %zu, which is not between %zu and %zu", offset,
                        column, least, length);
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
  ColumnOf(const ConnectionPermutation& permutation, const std::vector<std::int32_t>& table, bool pairsAll)
      : table_(table.data()),
        size_(permutation.isFailed() ? 0 : table.size()),
        isDirect_(permutation.isDirect()),
        takesAll_(pairsAll && size_ == table.size()) {}

  int operator()(int position) const {
    if (isDirect_) return position;
    return static_cast<std::size_t>(position) < size_ ? table_[position] : kNoColumn;
  }
  // Whether every input column is asked for, once.
  bool takesAll() const { return takesAll_; }

 private:
  const std::int32_t* table_;
  std::size_t size_;
  bool isDirect_;
  bool takesAll_;
};

// The rule of a caller's own.
class MappedColumn {
 public:
  using Map = bool (*)(const ConnectionPermutation*, int, int*);

  MappedColumn(const ConnectionPermutation& permutation, Map map) : permutation_(permutation), map_(map) {}

  int operator()(int position) const {
    int column = kNoColumn;
    return map_(&permutation_, position, &column) ? column : kNoColumn;
  }
  static bool takesAll() { return false; }

 private:
  const ConnectionPermutation& permutation_;
  Map map_;
};

}  // namespace

// Whether each position of both orders, as they are now, has its pair.
bool ConnectionPermutation::pairsAll() const {
  const std::size_t pairs = platToExtIndex.size();
  return pairs == extOfPlat_.size() && pairs == platOfExt_.size() && pairs == platOrder.size() &&
         pairs == extOrder.size();
}

bool ConnectionPermutation::permuteBinaryRow(void* row, void** out, int outCount, int inCount,
                                             bool (*map)(const ConnectionPermutation*, int, int*)) const {
  return permute(row, out, std::max(outCount, 0), inCount, MappedColumn(*this, map));
}

bool ConnectionPermutation::permuteBinaryRowOut(void* row, void** out) const {
  return permute(row, out, countOf(extOrder), countOf(platOrder), ColumnOf(*this, platOfExt_, pairsAll()));
}

bool ConnectionPermutation::permuteBinaryRowIn(void* row, void** out) const {
  return permute(row, out, countOf(platOrder), countOf(extOrder), ColumnOf(*this, extOfPlat_, pairsAll()));
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
  return validateOffsets(CompactHeader(bytes, columns), table, error);
}
