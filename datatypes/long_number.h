#pragma once

// Reads an unsigned number of 16 to 48 characters without a loop, and almost without jumps: loads of sixteen characters
// inside the text hold all of its digits, whatever its length and wherever its point is among the last 16 characters.
// Longer and stranger texts are the caller's.
//
//     12345678901234567890.12345678
//     |<-- head ---->|               the first of a whole part of more than 16 digits
//         |<-- tail ---->|           ends at the point, and keeps what the head has not
//                  |<- fraction ->|  ends with the text, and keeps what is behind the point

#include <array>
#include <bit>
#include <cstdint>
#include <string_view>

#include "datatypes/digit_block.h"
#include "datatypes/digit_lanes.h"

namespace kyv_internal {

// The whole part is head * 10^tailDigits + tail.
struct LongNumber {
  std::uint64_t head = 0;
  std::uint64_t tail = 0;
  std::size_t tailDigits = 0;
  std::size_t wholeDigits = 0;  // leading zeros too
  std::uint64_t fraction = 0;
  std::size_t places = 0;  // digits behind the point, at most 15
  bool valid = false;
};

inline constexpr std::size_t kLeastLongText = kPieceDigits;

// Each times 5 to the power of its index is 1, in 64 bits.
inline constexpr std::array<std::uint64_t, kPieceDigits + 1> kInversesOfFive = [] {
  std::array<std::uint64_t, kPieceDigits + 1> inverses{1};
  for (std::size_t i = 1; i < inverses.size(); ++i) inverses[i] = inverses[i - 1] * 0xCCCC'CCCC'CCCC'CCCD;
  return inverses;
}();

// A number that ends with `zeros` (0 to 16) zeros, without them: a division that leaves no rest is a multiplication.
constexpr std::uint64_t withoutZeros(std::uint64_t number, std::size_t zeros) {
  return (number >> zeros) * kInversesOfFive[zeros];
}

// Both are asked about a text of at least 16 characters. A whole part of up to 16 digits is all tail; its load may hold
// the point and more, so its digits stand first.
inline LongNumber readOneLoad(std::string_view text, std::size_t wholeDigits, DigitLanes fraction, std::size_t places) {
  const DigitLanes whole = keepFirst(loadSixteen(text.data()), wholeDigits);
  const auto [wholeValue, fractionValue] = lanesValues(whole, fraction);
  return {.tail = withoutZeros(wholeValue, kPieceDigits - wholeDigits),
          .tailDigits = wholeDigits,
          .wholeDigits = wholeDigits,
          .fraction = fractionValue,
          .places = places,
          .valid = areDigits(whole, fraction)};
}

// 17 to 32 digits.
inline LongNumber readTwoLoads(std::string_view text, std::size_t wholeDigits, DigitLanes fraction,
                               std::size_t places) {
  const std::size_t tailDigits = wholeDigits - kPieceDigits;
  const DigitLanes head = loadSixteen(text.data());
  const DigitLanes tail = keepLast(loadSixteen(text.data() + tailDigits), tailDigits);
  const auto [headValue, tailValue] = lanesValues(head, tail);
  return {.head = headValue,
          .tail = tailValue,
          .tailDigits = tailDigits,
          .wholeDigits = wholeDigits,
          .fraction = lanesValue(fraction),
          .places = places,
          .valid = areDigits(head, tail, fraction)};
}

// REQUIRES: at least 16 characters. Not valid: anything but digits with at most one "." among the last 16, and a whole
// part of more than 32 digits.
inline LongNumber readLongNumber(std::string_view text) {
  const DigitLanes last = loadSixteen(text.data() + text.size() - kPieceDigits);
  const std::size_t fromPoint = fromFirst(pointsOf(last));
  const std::size_t places = fromPoint - (fromPoint != 0 ? 1 : 0);
  const std::size_t wholeDigits = text.size() - fromPoint;
  const DigitLanes fraction = keepLast(last, places);
  if (wholeDigits > 2 * kPieceDigits) return {};
  return wholeDigits <= kPieceDigits ? readOneLoad(text, wholeDigits, fraction, places)
                                     : readTwoLoads(text, wholeDigits, fraction, places);
}

}  // namespace kyv_internal
