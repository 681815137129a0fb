#pragma once

// The usual texts of numbers, a sign perhaps and at most 16 characters behind it: read here without loops, and padded
// texts almost without jumps. Each type has one such reader for texts of both kinds. It says false to every other text:
// that takes the type's careful way, which knows what is wrong with it, or that nothing is.

#include <cstdint>
#include <limits>

#include "datatypes/digit_block.h"
#include "datatypes/digit_lanes.h"
#include "datatypes/money_text.h"
#include "datatypes/number_text.h"
#include "datatypes/padded_text.h"
#include "datatypes/parsed.h"
#include "datatypes/short_number.h"

namespace kyv_internal {

// --- Integers -------------------------------------------------------------------------------------------------------

constexpr std::uint64_t largestMagnitude(bool negative, const IntegerRules& rules) {
  return negative ? -static_cast<std::uint64_t>(rules.minimum) : static_cast<std::uint64_t>(rules.maximum);
}

template <class Text>
[[nodiscard]] bool readUsualInteger(Text text, const IntegerRules& rules, std::int64_t& value) {
  const bool negative = takeSign(text);
  if (text.empty() || text.size() > kPieceDigits) return false;
  const DigitsRead read = readPiece(text);
  if (read.faults != 0 || read.value > largestMagnitude(negative, rules)) return false;
  value = static_cast<std::int64_t>(negateIf(negative, read.value));
  return true;
}

inline Parsed<std::int64_t> parseInteger(PaddedText text, const IntegerRules& rules) {
  Parsed<std::int64_t> usual;
  return readUsualInteger(text, rules, usual.value) ? usual : parseInteger(std::string_view(text), rules);
}

// --- Floats ---------------------------------------------------------------------------------------------------------

// Whole numbers up to it, and these powers, are exact as doubles: one division of two of them is rounded correctly.
inline constexpr std::uint64_t kExactDouble = std::uint64_t{1} << 53;
inline constexpr double kExactPowers[] = {1e0, 1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7, 1e8,
                                          1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15, 1e16};

template <class Text>
[[nodiscard]] bool readUsualFloat(Text text, double& value) {
  const bool negative = takeSign(text);
  const ShortNumber number = readShortNumber(text);
  if (!number.valid || number.digits > kExactDouble) return false;
  const double magnitude = static_cast<double>(static_cast<std::int64_t>(number.digits)) / kExactPowers[number.places];
  value = negative ? -magnitude : magnitude;
  return true;
}

inline Parsed<double> parseFloat(PaddedText text) {
  Parsed<double> usual;
  return readUsualFloat(text, usual.value) ? usual : parseFloat(std::string_view(text));
}

// --- Money ----------------------------------------------------------------------------------------------------------

template <class Text>
[[nodiscard]] bool readUsualMoney(Text text, MoneyScale scale, std::int64_t& value) {
  const bool negative = takeSign(text);
  const ShortNumber number = readShortNumber(text);
  const auto places = static_cast<std::size_t>(scale.places);
  if (!number.valid || !isDigit(text.front()) || (places == 0 && number.places != 0)) return false;
  std::uint64_t magnitude = 0;
  if (number.places > places) {
    magnitude = number.digits / kPowersOfTen[number.places - places];
  } else if (__builtin_mul_overflow(number.digits, kPowersOfTen[places - number.places], &magnitude)) {
    return false;
  }
  if (magnitude > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) return false;
  value = static_cast<std::int64_t>(negateIf(negative, magnitude));
  return true;
}

inline Parsed<std::int64_t> parseMoney(PaddedText text, MoneyScale scale) {
  Parsed<std::int64_t> usual;
  return readUsualMoney(text, scale, usual.value) ? usual : parseMoney(std::string_view(text), scale);
}

}  // namespace kyv_internal
