#pragma once

// Which records of a file a command shows.

#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>

namespace kyv_internal {

// Counted from 1, both ends included.
struct RecordChoice {
  static constexpr std::uint64_t kAll = std::numeric_limits<std::uint64_t>::max();

  std::uint64_t first = 1;
  std::uint64_t last = 3;

  bool holds(std::uint64_t number) const { return number >= first && number <= last; }
};

// Reads "7" or "7-9"; nothing for any other text.
std::optional<RecordChoice> parseRecordChoice(std::string_view text);

}  // namespace kyv_internal
