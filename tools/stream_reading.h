#pragma once

// What the command line says of the rows of a project that are to be read.

#include <cstdint>
#include <limits>
#include <string>

namespace kyv_internal {

// When the rows of a stream are at their end.
struct StreamEnd {
  std::uint64_t limit = std::numeric_limits<std::uint64_t>::max();  // rows
  bool follows = false;                                             // waits for more behind the last one
};

struct StreamReading {
  std::string project;     // PATH:NUMBER
  std::string stream;      // all are listed when empty
  std::int64_t after = 0;  // a row's number
  StreamEnd end;
  bool numbers = false;   // shown with the rows
  std::string schemaOut;  // a file for the stream's schema; none when empty
};

}  // namespace kyv_internal
