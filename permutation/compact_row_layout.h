#pragma once

// The compact binary record that permutations reorder, which is not the Row2 record of row2/row2_layout.h: every
// position, and how a column's bytes are found. Nothing else knows where this record keeps what.
//
//   OFFSET    SIZE  DESCRIPTION
//   0         4     length of the record in bytes, this header included (signed)
//   4         2     passed on unchanged
//   6         4 n   one offset a column: bytes from the record's start; 0: NULL (signed)
//   6 + 4 n         the values; each ends where that of the next column which is not NULL begins, or with the record

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

#include "row2/row2_layout.h"

namespace kyv_internal {

inline constexpr std::size_t kCompactLengthOffset = 0;
inline constexpr std::size_t kCompactTagOffset = 4;
inline constexpr std::size_t kCompactTableOffset = 6;
inline constexpr std::size_t kCompactEntrySize = 4;
inline constexpr std::int64_t kMostCompactBytes = INT32_MAX;

constexpr std::size_t compactEntryOffset(std::size_t column) {
  return kCompactTableOffset + kCompactEntrySize * column;
}

// Where a column's bytes lie in a record; no bytes for a NULL column.
struct CompactExtent {
  std::uint32_t begin;
  std::uint32_t size;
};

// The header of a record that nobody trusts.
class CompactHeader {
 public:
  // The record has at least its length word, and of `columns` columns those that lie within its length.
  CompactHeader(const void* record, int columns)
      : record_(record),
        length_(static_cast<std::uint32_t>(std::max(load<std::int32_t>(at(record, kCompactLengthOffset)), 0))) {
    const std::size_t there = length_ < kCompactTableOffset ? 0 : (length_ - kCompactTableOffset) / kCompactEntrySize;
    columns_ = std::min(static_cast<std::size_t>(std::max(columns, 0)), there);
  }

  std::uint32_t length() const { return length_; }
  std::size_t columns() const { return columns_; }
  const char* bytes() const { return static_cast<const char*>(record_); }

  std::uint16_t tag() const {
    return length_ < kCompactTableOffset ? std::uint16_t{0} : load<std::uint16_t>(at(record_, kCompactTagOffset));
  }
  std::int32_t entry(std::size_t column) const { return load<std::int32_t>(at(record_, compactEntryOffset(column))); }

 private:
  const void* record_;
  std::uint32_t length_;
  std::size_t columns_ = 0;
};

// Finds the extents of all columns and returns the sum of their sizes. One whose offsets make no sense has no bytes, so
// that nothing outside the record's length is read.
inline std::int64_t findExtents(const CompactHeader& header, CompactExtent* extents) {
  std::int64_t sum = 0;
  std::uint32_t end = header.length();
  for (std::size_t column = header.columns(); column-- > 0;) {
    const auto begin = static_cast<std::uint32_t>(header.entry(column));  // a negative one is past every length
    // Taken apart without a branch: which columns are NULL cannot be foreseen.
    const bool makesSense = (begin != 0) & (begin <= end) & (end <= header.length());
    const std::uint32_t mask = makesSense ? ~std::uint32_t{0} : 0;
    extents[column] = {begin & mask, (end - begin) & mask};
    sum += extents[column].size;
    end = begin != 0 ? begin : end;
  }
  return sum;
}

}  // namespace kyv_internal
