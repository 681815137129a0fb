#pragma once

// Reads an unsigned number of at most 16 characters without a loop: the characters are loaded at the high end of one or
// two blocks, the point is closed up, and what is left must be digits. Longer and stranger texts are the caller's.

#include <bit>
#include <cstdint>
#include <string_view>

#include "datatypes/digit_block.h"

namespace kyv_internal {

struct ShortNumber {
  std::uint64_t digits = 0;  // as if the point were not there
  std::size_t places = 0;    // digits behind the point
  bool valid = false;
};

// Closes up a block whose only fault is a "." that some digits stand before: they move on by one, and `carry` comes in
// first. Returns the number of digits behind the point.
inline std::size_t closePoint(DigitBlock& digits, DigitBlock fault, DigitBlock carry) {
  const DigitBlock before = (fault >> 7) - 1;
  const DigitBlock behind = -fault << 1;
  digits = (digits & behind) | (digits & before) << 8 | carry;
  return kBlockDigits - 1 - static_cast<std::size_t>(std::countr_zero(fault)) / 8;
}

// Whether the faults of a number are none but one ".", `places` digits from the end.
inline bool isPoint(std::string_view text, DigitBlock faults, std::size_t places) {
  return (faults & (faults - 1)) == 0 && text[text.size() - 1 - places] == '.';
}

inline ShortNumber readOneBlock(std::string_view text) {
  DigitBlock digits = loadFewDigits(text.data(), text.size());
  const DigitBlock faults = faultsOf(digits);
  if (faults == 0) return {blockValue(digits), 0, true};
  const std::size_t places = closePoint(digits, faults & -faults, 0);
  return {blockValue(digits), places, isPoint(text, faults, places)};
}

inline ShortNumber readTwoBlocks(std::string_view text) {
  const std::size_t headSize = text.size() - kBlockDigits;
  DigitBlock high = loadHeadDigits(text.data(), headSize);
  DigitBlock low = loadDigits(text.data() + headSize);
  const DigitBlock highFaults = faultsOf(high);
  const DigitBlock lowFaults = faultsOf(low);
  std::size_t places = 0;
  bool valid = true;
  if (lowFaults != 0) {
    places = closePoint(low, lowFaults & -lowFaults, high >> 56);
    high <<= 8;
    valid = highFaults == 0 && isPoint(text, lowFaults, places);
  } else if (highFaults != 0) {
    places = kBlockDigits + closePoint(high, highFaults & -highFaults, 0);
    valid = isPoint(text, highFaults, places);
  }
  return {blockValue(high) * kBlockRange + blockValue(low), places, valid};
}

// Digits with at most one "." among, before or behind them. Not valid: any other text, and one above 16 characters.
inline ShortNumber readShortNumber(std::string_view text) {
  if (text.empty() || text.size() > kPieceDigits || text == ".") return {};
  return text.size() <= kBlockDigits ? readOneBlock(text) : readTwoBlocks(text);
}

}  // namespace kyv_internal
