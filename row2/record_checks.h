#pragma once

// Checks of a record's parts that the library's two kinds of validation share: the checks that callers choose from, and
// the one pass over a record that nobody trusts yet.

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "kyv/connection_row.h"
#include "row2/record_fault.h"
#include "row2/record_header.h"
#include "row2/row2_layout.h"

namespace kyv_internal {

inline bool isOpcode(std::int32_t opcode) {
  switch (opcode) {
    case StreamInterface::Insert:
    case StreamInterface::Update:
    case StreamInterface::Delete:
    case StreamInterface::Upsert:
    case StreamInterface::SecondDelete:
      return true;
    default:
      return false;
  }
}

inline bool checkOpcode(const RecordHeader& header, RecordFault fault) {
  return isOpcode(header.opcode) || fault.opcode(header);
}

inline bool checkColumnCount(const RecordHeader& header, const RecordSchema& schema, RecordFault fault) {
  const std::int64_t surplus = std::int64_t{header.columns} - schema.fixedColumns;
  const bool fits = schema.repeatColumns != 0 ? surplus >= 0 && surplus % schema.repeatColumns == 0 : surplus == 0;
  return fits || fault.columnCount(header, schema);
}

// Whether header and offset table lie within the record.
inline bool checkRoom(const RecordHeader& header, RecordFault fault) {
  return header.length >= header.payload() || fault.tooShort(header);
}

inline bool checkOptionCount(const RecordHeader& header, RecordFault fault) {
  const int flagged = std::popcount(header.flags & kOptionFlags);
  return static_cast<std::uint32_t>(flagged) == header.options || fault.optionCount(header, flagged);
}

inline bool checkLatencyLength(std::int64_t length, std::size_t position, RecordFault fault) {
  return (length % kLatencyWordSize == 0 && length >= kLeastLatencySize) || fault.latencyLength(length, position);
}

// Of a column whose value begins inside the record. No byte outside the record is read, wherever the value ends.
inline bool checkString(const void* record, const RecordHeader& header, std::size_t column, ValueExtent value,
                        RecordFault fault) {
  if (value.length() < 1 || value.end > header.length) return fault.stringLength(column, value);
  const unsigned char last = *at(record, static_cast<std::size_t>(value.end - 1));
  return last == 0 || fault.stringEnd(column, value, last);
}

// Walks the offset table of a record that has room for it. The visitor is told of each entry without value, and of each
// value once its end is known, both by their index in the table: `bool absent(index, entry)` and
// `bool value(index, extent)`. False ends the walk.
template <WordOrder order, class Visitor>
bool walkTable(const void* record, const RecordHeader& header, RecordFault fault, const Visitor& visitor) {
  const std::size_t atEnd = header.entries();  // where the table has the end of data
  std::int32_t known = header.payload() - 1;   // the last known offset
  std::size_t open = atEnd;                    // whose value begins there; nobody's in the beginning
  for (std::size_t i = 0; i < atEnd; ++i) {
    const std::int32_t entry = tableEntryIn<order>(record, i);
    if (entry <= 0) {
      if (!visitor.absent(i, entry)) return false;
      continue;
    }
    if (entry >= header.length) return fault.entryPastLength(header, i, entry);
    if (entry <= known) return fault.entryOverlaps(header, i, entry, known);
    if (open != atEnd && !visitor.value(open, {known, entry})) return false;
    open = i;
    known = entry;
  }
  const std::int32_t endOfData = tableEntryIn<order>(record, atEnd);
  if (endOfData > header.length) return fault.entryPastLength(header, atEnd, endOfData);
  if (endOfData <= known) return fault.entryOverlaps(header, atEnd, endOfData, known);
  return open == atEnd || visitor.value(open, {known, endOfData});
}

}  // namespace kyv_internal
