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

// Reads a record without trusting it: nothing outside its length is read, and a column that the record lacks or whose
// offsets make no sense has no bytes.
class CompactReader {
 public:
  // The record has at least its length word.
  CompactReader(const void* record, int columns)
      : record_(record),
        length_(static_cast<std::size_t>(std::max(load<std::int32_t>(at(record, kCompactLengthOffset)), 0))) {
    const std::size_t there = length_ < kCompactTableOffset ? 0 : (length_ - kCompactTableOffset) / kCompactEntrySize;
    columns_ = std::min(static_cast<std::size_t>(std::max(columns, 0)), there);
  }

  std::size_t length() const { return length_; }
  std::size_t columns() const { return columns_; }

  std::uint16_t tag() const {
    return length_ < kCompactTableOffset ? std::uint16_t{0} : load<std::uint16_t>(at(record_, kCompactTagOffset));
  }

  std::int32_t entry(std::size_t column) const { return load<std::int32_t>(at(record_, compactEntryOffset(column))); }

  // The bytes of a column; none for a NULL column, and for a column below 0.
  std::span<const unsigned char> column(int index) const {
    const auto column = static_cast<std::size_t>(index);
    if (column >= columns_) return {};
    const auto begin = static_cast<std::uint32_t>(entry(column));
    const std::size_t end = nextEntry(column);
    if (begin == 0 || begin > end || end > length_) return {};
    return {at(record_, begin), end - begin};
  }

 private:
  std::size_t nextEntry(std::size_t column) const {
    while (++column < columns_) {
      // A negative offset becomes one past every record's length.
      if (const std::int32_t next = entry(column); next != 0) return static_cast<std::uint32_t>(next);
    }
    return length_;
  }

  const void* record_;
  std::size_t length_;
  std::size_t columns_ = 0;
};

}  // namespace kyv_internal
