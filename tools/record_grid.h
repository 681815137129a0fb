#pragma once

// A record's bytes in lines of sixteen, each cut where its segments meet. Of a long value the middle is left out.

#include <cstddef>
#include <string>
#include <vector>

#include "record_map.h"

namespace kyv_internal {

inline constexpr std::size_t kGridBytes = 16;
inline constexpr std::size_t kGridGroup = 4;  // bytes between wider spaces
// Characters of a full line of bytes.
inline constexpr std::size_t kGridWidth = kGridBytes * 3 - 1 + kGridBytes / kGridGroup - 1;

// Bytes of one segment within a line.
struct GridRun {
  ByteRange bytes;
  std::size_t segment;
};

struct GridLine {
  std::size_t offset = 0;     // of its first byte; a multiple of kGridBytes
  std::size_t leftOut = 0;    // bytes that are not shown: then there are no runs
  std::vector<GridRun> runs;  // in order, without gaps
};

std::vector<GridLine> gridOf(const RecordMap& map);

// The offset of a line's first byte, as wide as in the record's other lines.
std::string offsetLabel(const RecordMap& map, std::size_t offset);

// The spaces between a byte of a line and the one before it.
std::size_t spacesBefore(std::size_t offset);

// Bytes in hexadecimal as they stand in a line, spaces between them, and as characters: a point for what is no ASCII.
std::string hexRun(const RecordMap& map, ByteRange bytes);
std::string charactersRun(const RecordMap& map, ByteRange bytes);

// The first bytes of a part in hexadecimal; "..." for the rest where there are more than `most`.
std::string hexStart(const RecordMap& map, ByteRange bytes, std::size_t most);

}  // namespace kyv_internal
