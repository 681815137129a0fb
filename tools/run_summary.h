#pragma once

// What a run did, counted, and how it is told at the end.

#include <cstdint>
#include <optional>
#include <string>

namespace kyv_internal {

// read = accepted + rejected.
struct RunSummary {
  std::uint64_t read = 0;  // rows
  std::uint64_t rejected = 0;
  std::uint64_t blankLines = 0;
  std::uint64_t skipped = 0;               // rows that an earlier run has delivered: not read
  std::optional<std::uint64_t> published;  // rows, by a run that publishes
  std::uint64_t bytes = 0;                 // of input
  double seconds = 0;

  std::uint64_t accepted() const { return read - rejected; }
  double rowsPerSecond() const;
  double megabytesPerSecond() const;

  // "read 9, accepted 8, rejected 1 in 0.002 s (4500 rows/s, 0.3 MB/s)", the blank lines if there were any, and what
  // was published.
  std::string text() const;
  // The same as a JSON object on a line.
  std::string json() const;
};

}  // namespace kyv_internal
