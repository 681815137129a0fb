#pragma once

// When daylight saving is in force in a zone: its changes, looked up once and found again without asking the zone
// library. Behind the last change that a zone's history names its rule goes on for ever, and the calendar that the rule
// is written in repeats after 400 years; so the table holds 400 years of it.
//
// Threads: a table may be read from any thread at once.

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "datatypes/civil_time.h"

namespace kyv_internal {

class DaylightTable {
 public:
  // The years that repeat for ever. Seconds since 1970.
  static constexpr std::int64_t kCycleBegin = daysFromCivil(2100, 1, 1) * kSecondsPerDay;
  static constexpr std::int64_t kCycleEnd = daysFromCivil(2500, 1, 1) * kSecondsPerDay;

  // Never in force.
  DaylightTable() : DaylightTable(false, {}) {}

  // `before`: whether it is in force before the first change. `changes`: when it comes into force or goes out of it, in
  // ascending seconds before kCycleEnd.
  DaylightTable(bool before, std::vector<std::int64_t> changes);

  // At seconds since 1970 UTC.
  bool inForceAt(std::int64_t seconds) const {
    if (seconds < changes_.front()) return before_;
    if (seconds >= kCycleEnd) seconds = kCycleBegin + (seconds - kCycleBegin) % (kCycleEnd - kCycleBegin);
    std::size_t passed = passedBefore_[stretchOf(seconds)];
    while (changes_[passed] <= seconds) ++passed;
    return before_ != (passed % 2 != 0);
  }

 private:
  // The time from the first change on is cut into stretches of 97 days, in which few changes lie.
  static constexpr int kStretchBits = 23;

  std::size_t stretchOf(std::int64_t seconds) const {
    return static_cast<std::size_t>(seconds - changes_.front()) >> kStretchBits;
  }

  bool before_;
  std::vector<std::int64_t> changes_;        // and behind them one that never comes
  std::vector<std::uint16_t> passedBefore_;  // by stretch: the changes before it
};

}  // namespace kyv_internal
