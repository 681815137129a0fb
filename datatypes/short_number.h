#pragma once

// Reads an unsigned number of at most 16 characters without a loop: the characters are loaded at the high end of one or
// two blocks, the point is closed up, and what is left must be digits. Longer and stranger texts are the caller's.
//
// A plain text of at most 8 characters needs one block only; a padded one is always taken as two, because a jump that
// goes wrong costs more than a block.

#include <bit>
#include <cstdint>
#include <string_view>

#include "datatypes/digit_block.h"
#include "datatypes/digit_lanes.h"

namespace kyv_internal {

struct ShortNumber {
  std::uint64_t digits = 0;      // as if the point were not there
  std::size_t places = kNoText;  // digits behind the point

  bool valid() const { return places != kNoText; }

  static constexpr std::size_t kNoText = ~std::size_t{0};
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
  DigitBlock digits = loadFewDigits(text);
  const DigitBlock faults = faultsOf(digits);
  if (faults == 0) return {blockValue(digits), 0};
  const std::size_t places = closePoint(digits, faults & -faults, 0);
  return {blockValue(digits), isPoint(text, faults, places) ? places : ShortNumber::kNoText};
}

// The blocks of a text, and the text for its length.
inline ShortNumber readTwoBlocks(DigitBlock high, DigitBlock low, std::string_view text) {
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
  return {blockValue(high) * kBlockRange + blockValue(low), valid ? places : ShortNumber::kNoText};
}

inline ShortNumber readBlocks(std::string_view text) {
  if (text.size() <= kBlockDigits) return readOneBlock(text);
  const std::size_t headSize = text.size() - kBlockDigits;
  return readTwoBlocks(loadHeadDigits(text.data(), headSize), loadDigits(text.data() + headSize), text);
}

#if defined(__SSE2__)

inline ShortNumber readBlocks(PaddedText text) {
  __m128i digits = loadOwnDigits(text);
  const unsigned int faults = faultsOf(digits);
  if (faults == 0) return {lanesValue(digits), 0};
  const std::size_t places = kPieceDigits - 1 - static_cast<unsigned int>(std::countr_zero(faults));
  if (!isPoint(text, faults, places)) return {};
  const __m128i behind = ownBytes(places);
  digits = _mm_or_si128(_mm_and_si128(behind, digits), _mm_andnot_si128(behind, _mm_slli_si128(digits, 1)));
  return {lanesValue(digits), places};
}

#else

inline ShortNumber readBlocks(PaddedText text) {
  const auto [high, low] = loadOwnDigits(text);
  return readTwoBlocks(high, low, text);
}

#endif

// Digits with at most one "." among, before or behind them. Not valid: any other text, and one above 16 characters.
template <class Text>
ShortNumber readShortNumber(Text text) {
  if (text.empty() || text.size() > kPieceDigits || (text.size() == 1 && text.front() == '.')) return {};
  return readBlocks(text);
}

}  // namespace kyv_internal
