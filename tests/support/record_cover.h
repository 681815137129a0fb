#pragma once

// What is true of the map of any bytes.

#include <algorithm>
#include <string>

#include "record_map.h"

namespace kyv_test {

// Whether every byte lies in one segment, and each segment's parts are parts that can be listed.
inline bool coversEachByteOnce(const kyv_internal::RecordMap& map) {
  std::size_t done = 0;
  for (const kyv_internal::Segment& segment : map.segments) {
    if (segment.bytes.begin != done || segment.bytes.empty() || segment.parts.empty()) return false;
    if (std::any_of(segment.parts.begin(), segment.parts.end(),
                    [&](std::size_t part) { return part >= map.parts.size(); })) {
      return false;
    }
    done = segment.bytes.end;
  }
  return done == map.bytes.size();
}

}  // namespace kyv_test
