#pragma once

// Integers and floats to and from text, independent of the locale.

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>

#include "datatypes/parsed.h"

namespace kyv_internal {

// One integer type's syntax: what differs is its range and its messages.
struct IntegerRules {
  std::int64_t minimum;
  std::int64_t maximum;
  bool digitAfterSign;  // a sign must be followed by a digit for the text to begin legally
  const char* badBegin;
  const char* badEnd;
  const char* outOfRange;
};

inline constexpr const char* kIntegerOutOfRange = "integer constant out of range";

template <class T>
constexpr IntegerRules integerRules(const char* outOfRange) {
  return {std::numeric_limits<T>::min(),
          std::numeric_limits<T>::max(),
          false,
          "integer constant does not begin with a legal character",
          "integer constant does not end with a legal character",
          outOfRange};
}

inline constexpr IntegerRules kInt16Rules = integerRules<std::int16_t>("16-bit integer constant out of range");
inline constexpr IntegerRules kIntegerRules = integerRules<std::int32_t>(kIntegerOutOfRange);
inline constexpr IntegerRules kLongRules = {std::numeric_limits<std::int64_t>::min(),
                                            std::numeric_limits<std::int64_t>::max(),
                                            false,
                                            "long constant does not begin with a legal character",
                                            "long constant does not end with a legal character",
                                            "long constant out of range"};
// Required as is: an interval that is out of range gets the message of an integer.
inline constexpr IntegerRules kIntervalRules = {std::numeric_limits<std::int64_t>::min(),
                                                std::numeric_limits<std::int64_t>::max(),
                                                true,
                                                "interval constant does not begin with a legal character",
                                                "interval constant does not end with a legal character",
                                                kIntegerOutOfRange};

// The whole text is an optional sign and decimal digits.
Parsed<std::int64_t> parseInteger(std::string_view text, const IntegerRules& rules);

// The whole text is a decimal number with optional fraction and exponent.
Parsed<double> parseFloat(std::string_view text);

// Writers: `out` has room for the longest text, all of which may be overwritten; they return the text's end and write
// no terminator.
inline constexpr int kMaxIntegerText = 20;
char* printInteger(std::int64_t value, char* out);
// Exactly the last `digits` digits of `value`, with leading zeros. Writes nothing behind them.
char* printPadded(std::uint64_t value, int digits, char* out);

// As C prints with "%0.*f", a magnitude below the tolerance as zero, one above 1e80 with "%0.25g". Writes at most
// `room` characters (a longer text is cut) and no terminator; returns the end. Room of 48 and more is filled the
// fastest way.
char* printFloat(double value, unsigned long places, double tolerance, char* out, std::size_t room);

// 15 significant digits, with an exponent when the magnitude is at most 1e-15 or at least 1e16. At most 49 characters.
char* printFloatShort(double value, char* out);

// The fewest digits that read back to the same value, a whole number ending in ".0"; with an exponent only where that
// is shorter and the value has more than 15 digits. At most 32 characters, some of them behind the text overwritten
// too.
char* printFloatExact(double value, char* out);

}  // namespace kyv_internal
