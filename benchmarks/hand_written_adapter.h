#pragma once

// The peer of the row benchmarks: the adapter for trades that one writes by hand with the C library, in an afternoon.
// It makes the same record bytes as the library and the same field texts, for this one schema.
//
// Threads: no shared state.

#include <cstddef>
#include <string>
#include <vector>

#include "benchmarks/trades.h"

namespace kyv_internal {

// A record from malloc, which the caller frees; null when a field is bad. The line, without line end, is cut up in
// place.
char* tradeLineToRecord(char* line);
// The same from texts by position; null is a NULL column.
char* tradeFieldsToRecord(const char* const* fields);

std::size_t tradeRecordBytes(const char* record);

// The texts of a record's columns; a NULL column is empty. They keep their memory from record to record.
void tradeRecordToFields(const char* record, std::vector<std::string>& fields);
// The same texts, with a line feed behind the last, as a line of delimited text; a text that needs it is quoted.
void tradeRecordToLine(const char* record, std::string& line);

}  // namespace kyv_internal
