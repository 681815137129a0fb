#pragma once

// What can be wrong in a record: the text of each fault, and where in the record its cause lies. Every function fills
// in the fault and returns false, so that a check can end with it. They are kept out of the way of sound records.

#include <cstddef>
#include <cstdint>

#include "kyv/row2.h"
#include "row2/record_header.h"

namespace kyv_internal {

// The columns that a record is to have, as an adapter gives them: the fixed ones, then any number of groups.
struct RecordSchema {
  int fixedColumns;
  int repeatColumns;
  const unsigned int* types;
  const bool* nullable;  // null: every column may be without value

  // Where the schema has the type and nullability of a column.
  std::size_t index(std::size_t column) const {
    const auto fixed = static_cast<std::size_t>(fixedColumns);
    return column < fixed ? column : (column - fixed) % static_cast<std::size_t>(repeatColumns) + fixed;
  }
  bool allowsNone(std::size_t column) const { return nullable == nullptr || nullable[index(column)]; }
};

// Bytes of a value, from the record's start.
struct ValueExtent {
  std::int64_t begin;
  std::int64_t end;

  std::int64_t length() const { return end - begin; }
};

class RecordFault {
 public:
  explicit RecordFault(Row2::Fault& fault) : fault_(fault) {}

  [[gnu::cold]] bool beyondBytes(std::int32_t length, std::size_t bytes) const;
  [[gnu::cold]] bool noTypes(const char* operation) const;
  [[gnu::cold]] bool opcode(const RecordHeader& header) const;
  [[gnu::cold]] bool columnCount(const RecordHeader& header, const RecordSchema& schema) const;
  [[gnu::cold]] bool tooShort(const RecordHeader& header) const;
  [[gnu::cold]] bool optionCount(const RecordHeader& header, int flagged) const;

  // Of the table's entry at `index`; the last one is the end of data.
  [[gnu::cold]] bool entryPastLength(const RecordHeader& header, std::size_t index, std::int32_t entry) const;
  [[gnu::cold]] bool entryOverlaps(const RecordHeader& header, std::size_t index, std::int32_t entry,
                                   std::int32_t previous) const;

  [[gnu::cold]] bool noValue(std::size_t column, std::int32_t entry) const;
  [[gnu::cold]] bool stringLength(std::size_t column, ValueExtent value) const;
  [[gnu::cold]] bool stringEnd(std::size_t column, ValueExtent value, unsigned char last) const;
  [[gnu::cold]] bool valueLength(std::size_t column, unsigned int type, ValueExtent value, std::size_t need) const;
  [[gnu::cold]] bool binaryPrefix(std::size_t column, ValueExtent value, std::uint32_t prefix) const;
  [[gnu::cold]] bool decimalDigits(std::size_t column, ValueExtent value, unsigned int precision,
                                   unsigned int scale) const;
  [[gnu::cold]] bool decimalValue(std::size_t column, ValueExtent value, unsigned int precision) const;
  [[gnu::cold]] bool latencyLength(std::int64_t length, std::size_t position) const;

 private:
  bool say(std::size_t position, std::string message) const;

  Row2::Fault& fault_;
};

}  // namespace kyv_internal
