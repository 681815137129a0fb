#include "datatypes/daylight_table.h"

#include <utility>

namespace kyv_internal {

DaylightTable::DaylightTable(bool before, std::vector<std::int64_t> changes)
    : before_(before), changes_(std::move(changes)) {
  changes_.push_back(std::numeric_limits<std::int64_t>::max());
  if (changes_.size() == 1) return;
  std::uint16_t passed = 0;
  for (std::int64_t begin = changes_.front(); begin < kCycleEnd; begin += std::int64_t{1} << kStretchBits) {
    while (changes_[passed] < begin) ++passed;
    passedBefore_.push_back(passed);
  }
}

}  // namespace kyv_internal
