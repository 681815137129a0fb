#pragma once

// A record's map as part of an HTML page that needs nothing else: a value under the pointer, or with the focus, lights up
// with its bytes and its offset. A click keeps it so.

#include <cstdint>
#include <string>

#include "record_map.h"

namespace kyv_internal {

// Everything before the first record. `file` and `stream` may hold any bytes.
std::string pageBegin(const std::string& file, const std::string& stream);

// `number` counts a file's records from 1; `position` is the record's first byte in the file.
std::string recordSection(const RecordMap& map, std::uint64_t number, std::uint64_t position);

// Everything behind the last record. `summary` may hold any bytes.
std::string pageEnd(const std::string& summary);

}  // namespace kyv_internal
