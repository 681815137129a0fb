#pragma once

// Reads an unsigned number of at most 16 characters without a loop: the characters are loaded at the high end of one or
// two blocks, the point is closed up, and what is left must be digits. Longer and stranger texts are the caller's.

#include <bit>
#include <cstdint>
#include <string_view>

#include "datatypes/digit_block.h"

namespace kyv_internal {

inline constexpr std::size_t kShortNumber = 2 * kBlockDigits;

struct ShortNumber {
  std::uint64_t digits = 0;  // as if the point were not there
  std::size_t places = 0;    // digits behind the point
  bool valid = false;
};

// Closes up the first "." of a block: the characters before it move on by one and `carry` comes in first. Returns the
// number of characters behind the point, or 8 when there is none.
inline std::size_t removePoint(DigitBlock& block, DigitBlock carry) {
  const DigitBlock difference = block ^ kEachByte * '.';
  const DigitBlock points = (difference - kEachByte) & ~difference & kEachByte * 0x80;
  if (points == 0) return kBlockDigits;
  const DigitBlock first = points & -points;
  const DigitBlock before = (first >> 7) - 1;
  const DigitBlock behind = ~(before << 8 | 0xFF);
  block = (block & behind) | (block & before) << 8 | carry;
  return kBlockDigits - 1 - static_cast<std::size_t>(std::countr_zero(first)) / 8;
}

inline ShortNumber readOneBlock(std::string_view text) {
  DigitBlock block = loadPadded(text.data(), text.size());
  const std::size_t places = removePoint(block, '0') % kBlockDigits;
  return {blockValue(block), places, isAllDigits(block)};
}

inline ShortNumber readTwoBlocks(std::string_view text) {
  DigitBlock high = loadHead(text.data(), text.size() - kBlockDigits);
  DigitBlock low = loadWord<DigitBlock>(text.data() + text.size() - kBlockDigits);
  std::size_t places = removePoint(low, high >> 56);
  if (places < kBlockDigits) {
    high = high << 8 | '0';
  } else {
    places = (kBlockDigits + removePoint(high, '0')) % kShortNumber;
  }
  return {blockValue(high) * kBlockRange + blockValue(low), places, isAllDigits(high) && isAllDigits(low)};
}

// Digits with at most one "." among, before or behind them. Not valid: any other text, and one above 16 characters.
inline ShortNumber readShortNumber(std::string_view text) {
  if (text.empty() || text.size() > kShortNumber || text == ".") return {};
  return text.size() <= kBlockDigits ? readOneBlock(text) : readTwoBlocks(text);
}

}  // namespace kyv_internal
