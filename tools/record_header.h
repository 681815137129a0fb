#pragma once

// The little that reading a file of records takes: they stand one after another without padding, each led by its
// length. docs/record_layout.md draws the whole record.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "row2/row2_layout.h"

namespace kyv_internal {

inline constexpr std::size_t kRecordLengthBytes = sizeof(std::int32_t);
inline constexpr std::int64_t kLeastRecordBytes = payloadOffset(0);

// A longer record is taken for a broken file rather than read into memory.
inline constexpr std::size_t kMostRecordBytes = std::size_t{256} << 20;

// `record` needs kRecordLengthBytes bytes.
inline std::int64_t recordLength(const char* record) { return load<std::int32_t>(at(record, kLengthOffset)); }

// The record that begins at a byte of well-formed records that stand one after another.
inline std::string_view recordAt(std::string_view records, std::size_t begin) {
  return records.substr(begin, static_cast<std::size_t>(recordLength(records.data() + begin)));
}

// Of a well-formed record in host byte order: its operation's code, and where a column's value begins, 0 for NULL.
inline std::int32_t recordOperation(const char* record) { return load<std::int32_t>(at(record, kOpcodeOffset)); }
inline std::size_t recordOffset(const char* record, int column) {
  return static_cast<std::size_t>(load<std::int32_t>(at(record, entryOffset(static_cast<std::size_t>(column)))));
}

// Of a record in host byte order. `record` needs kLeastRecordBytes bytes.
inline std::uint32_t recordColumns(const char* record) { return columnCount(record); }

}  // namespace kyv_internal
