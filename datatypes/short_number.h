#pragma once

// Reads an unsigned number of at most 16 characters without a loop: the characters are loaded at the end of sixteen,
// the point is closed up, and what is left must be digits. Longer and stranger texts are the caller's.

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "datatypes/digit_block.h"
#include "datatypes/digit_lanes.h"

namespace kyv_internal {

struct ShortNumber {
  std::uint64_t digits = 0;  // as if the point were not there
  std::size_t places = 0;    // digits behind the point
  bool valid = false;
};

// Digits with at most one "." among, before or behind them. Not valid: any other text, and one above 16 characters.
// In line always: the packers compiled for newer processors want it compiled for these, too.
template <class Text>
[[gnu::always_inline]] inline ShortNumber readShortNumber(Text text) {
  if (text.empty() || text.size() > kPieceDigits || (text.size() == 1 && text.front() == '.')) return {};
  const DigitLanes digits = loadOwnDigits(text);
  const unsigned int faults = faultsOf(digits);
  // Of a number without a point all sixteen stay where they are.
  const std::size_t behind = std::min(fromFirst(faults) - 1, kPieceDigits);
  const bool valid = faults == pointsOf(digits) && (faults & (faults - 1)) == 0;
  return {lanesValue(closeUp(digits, behind)), behind % kPieceDigits, valid};
}

}  // namespace kyv_internal
