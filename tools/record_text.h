#pragma once

// A record's map for a terminal: its header in words, its bytes with a name below each, and its values line by line.
// It reads as well without colour.

#include <cstdint>
#include <string>

#include "record_map.h"

namespace kyv_internal {

enum class Colour { kNone, kAnsi };

// `number` counts a file's records from 1; `position` is the record's first byte in the file.
std::string recordText(const RecordMap& map, std::uint64_t number, std::uint64_t position, Colour colour);

}  // namespace kyv_internal
