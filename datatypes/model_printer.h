#pragma once

// The text of a format model's tokens, from a time that is taken apart. Nothing here scans a model, opens a zone or
// keeps anything: whoever has tokens and a time finds the number or the name of each, and prints it.

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <optional>
#include <string_view>

#include "datatypes/format_tokens.h"
#include "datatypes/time_zone.h"
#include "datatypes/two_digits.h"

namespace kyv_internal {

// No text that is printed here is longer.
inline constexpr std::size_t kMaxFieldText = 64;

// Where the text of a token comes from.
enum class FieldSource : std::uint8_t {
  kNone,      // it has none: a literal, a mode, or what cannot be printed
  kNumber,    // numberOf
  kName,      // nameOf
  kFraction,  // FF is the fraction in six digits, FFn roundedFraction
  kMicros,    // microsOf
  kZone,      // zoneNumberOf
  kZoneName   // Zone::displayName
};

FieldSource sourceOf(ModelToken token);

// A number and the characters that it takes at least: zeros fill it up behind its sign, as in C's "%04d".
struct Number {
  std::int64_t value;
  int width;
};

inline int hourOfTwelve(int hour) { return hour % 12 == 0 ? 12 : hour % 12; }

// Of a token whose source is the number. Of a token that the compiler knows, one line is left.
inline Number numberOf(ModelToken token, const std::tm& clock) {
  const std::int64_t year = std::int64_t{clock.tm_year} + 1900;
  switch (token) {
    case ModelToken::kYYYY:
      return {static_cast<std::int16_t>(year), 4};
    case ModelToken::kYYY:
      return {year % 1000, 3};
    case ModelToken::kYY:
      return {year % 100, 2};
    case ModelToken::kY:
      return {year % 10, 1};
    case ModelToken::kQ:
      return {clock.tm_mon / 3 + 1, 1};
    case ModelToken::kMM:
      return {clock.tm_mon + 1, 2};
    case ModelToken::kWW:
      return {clock.tm_yday / 7 + 1, 2};
    case ModelToken::kW:
      return {(clock.tm_mday - 1) / 7 + 1, 1};
    case ModelToken::kDDD:
      return {clock.tm_yday + 1, 3};
    case ModelToken::kDD:
      return {clock.tm_mday, 2};
    case ModelToken::kD:
      return {clock.tm_wday + 1, 1};
    case ModelToken::kHH:
    case ModelToken::kHH12:
      return {hourOfTwelve(clock.tm_hour), 2};
    case ModelToken::kHH24:
      return {clock.tm_hour, 2};
    case ModelToken::kMI:
      return {clock.tm_min, 2};
    case ModelToken::kSS:
      return {clock.tm_sec, 2};
    default:  // kSSSSS
      return {clock.tm_hour * 3600 + clock.tm_min * 60 + clock.tm_sec, 5};
  }
}

// Of a token whose source is the name, and the blanks that stand before it unless in fill mode.
std::string_view nameOf(ModelToken token, DataTypes::TimeFormatParser::Case letters, const std::tm& clock);
std::size_t blanksBefore(ModelToken token, std::string_view name);

// A fraction of microseconds in 1 to 9 digits.
Number roundedFraction(std::int32_t micros, int digits);

// Microseconds since 1970 of any 64-bit value in any unit.
using WideMicros = __int128;

// Nothing where a count does not fit in 64 bits.
[[nodiscard]] std::optional<Number> microsOf(WideMicros micros);
// Of a token whose source is the zone. Fill mode has no effect on it.
[[nodiscard]] std::optional<Number> zoneNumberOf(ModelToken token, WideMicros micros, const ZoneOffset& offset);

// The same number without zeros before it, as in fill mode.
inline Number filled(Number number) { return {number.value, 0}; }

// Both return the end of the text.

char* printWideNumber(Number number, char* out);

inline char* printNumber(Number number, char* out) {
  const bool twoDigits = number.width == 2 && number.value >= 0 && number.value < 100;
  return twoDigits ? printTwoDigits(static_cast<unsigned int>(number.value), out) : printWideNumber(number, out);
}

// A fraction in fill mode: without zeros at either end.
char* printTrimmed(Number number, char* out);

}  // namespace kyv_internal
