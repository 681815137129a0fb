#pragma once

// Reads a record in host byte order, column by column, without trusting it: nothing outside its length word is read,
// and a column that the record lacks or whose offsets make no sense has no value.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

#include "datatypes/column_type.h"
#include "datatypes/value_codec.h"
#include "row2/row2_layout.h"

namespace kyv_internal {

// The bytes of a column's value, with the type that the schema gives it.
struct StoredColumn {
  ColumnType column;
  std::span<const unsigned char> value;  // null for a NULL column

  Kind kind() const { return column.kind; }
  // Whether there is a value, and all of it.
  bool present() const { return value.data() != nullptr && value.size() >= storedSize(column); }
};

class RowReader {
 public:
  // The record has at least its length word.
  explicit RowReader(const void* record)
      : record_(record), length_(static_cast<std::size_t>(std::max(load<std::int32_t>(at(record, kLengthOffset)), 0))) {
    if (length_ < payloadOffset(0)) return;
    const std::size_t entries = std::size_t{columnCount(record)} + optionCount(record);
    if (payloadOffset(entries) > length_) return;
    entries_ = entries;
    columns_ = columnCount(record);
  }

  // No operation, 0, when the record is too short for one; likewise its flag.
  std::int32_t opcode() const { return hasHeader() ? load<std::int32_t>(at(record_, kOpcodeOffset)) : 0; }
  bool shinesThrough() const {
    return hasHeader() && (load<std::uint32_t>(at(record_, kFlagsOffset)) & kShineThroughFlag) != 0;
  }

  // The bytes of a column's value; empty with a null pointer for a column without one.
  std::span<const unsigned char> column(std::size_t index) const {
    if (index >= columns_) return {};
    const std::int32_t begin = tableEntry(record_, index);
    if (begin <= 0 || static_cast<std::size_t>(begin) < payloadOffset(entries_)) return {};
    const std::int32_t end = nextPositiveEntry(record_, index, entries_);
    if (end <= begin || static_cast<std::size_t>(end) > length_) return {};
    return {at(record_, static_cast<std::size_t>(begin)), static_cast<std::size_t>(end - begin)};
  }

 private:
  bool hasHeader() const { return length_ >= kTableOffset; }

  const void* record_;
  std::size_t length_;
  std::size_t entries_ = 0;  // columns and options of the offset table; none when the record is too short for it
  std::size_t columns_ = 0;
};

}  // namespace kyv_internal
