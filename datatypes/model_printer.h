#pragma once

// The text of a format model's tokens, from a time that is taken apart. Nothing here scans a model, opens a zone or
// keeps anything: whoever has tokens and a time prints through these functions, one token at a time.

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <optional>

#include "datatypes/format_tokens.h"
#include "datatypes/time_zone.h"
#include "datatypes/two_digits.h"

namespace kyv_internal {

// No field's text is longer, but for the names of zones.
inline constexpr std::size_t kMaxFieldText = 64;

enum class FieldSource : std::uint8_t {
  kClock,     // printField
  kValue,     // printZoneField, whatever the offset
  kZone,      // printZoneField
  kZoneName,  // Zone::displayName
  kNone       // it cannot be printed
};

// Where the text of a field comes from. Of a token that is no field: kNone.
FieldSource sourceOf(ModelToken token);

// --- A value taken apart --------------------------------------------------------------------------------------------

// Microseconds since 1970 of any 64-bit value in any unit.
using WideMicros = __int128;

// Values count units of so many microseconds: 1, 1000 or 1000000.
inline WideMicros wideMicros(std::int64_t value, std::int64_t microsPerUnit) {
  return WideMicros{value} * microsPerUnit;
}

struct SplitValue {
  std::int64_t seconds;
  std::int32_t micros;
};

// Required as is: the seconds are those nearer to 1970, and the microseconds have the value's sign.
inline SplitValue splitValue(std::int64_t value, std::int64_t microsPerUnit) {
  const std::int64_t unitsPerSecond = 1'000'000 / microsPerUnit;
  return {value / unitsPerSecond, static_cast<std::int32_t>(value % unitsPerSecond * microsPerUnit)};
}

// Milliseconds since 1970, as zones count them.
inline double instantOf(std::int64_t value, std::int64_t microsPerUnit) {
  const std::int64_t unitsPerMilli = microsPerUnit < 1000 ? 1000 / microsPerUnit : 1;
  const std::int64_t millisPerUnit = microsPerUnit < 1000 ? 1 : microsPerUnit / 1000;
  const std::int64_t whole = value / unitsPerMilli;
  return static_cast<double>(whole) * static_cast<double>(millisPerUnit);
}

// What clocks of a zone show; nothing where the calendar ends, or when ICU reports an error.
[[nodiscard]] std::optional<std::tm> clockOf(std::int64_t seconds, const Zone& zone);

// --- Any field ------------------------------------------------------------------------------------------------------

// Of a literal 1. REQUIRES: the token is no zone's name.
std::size_t longestFieldText(ModelToken token);

// A field as the model has it.
struct ModelField {
  ModelToken token;
  DataTypes::TimeFormatParser::Case letters;  // of names
  char digit;                                 // of FFn, '1' to '9'
  bool fill;                                  // nothing is padded, fractions lose their zeros
};

struct PrintedTime {
  const std::tm& clock;   // in the zone
  std::int32_t fraction;  // microseconds, negative for some values before 1970
  bool threeDigitFraction = false;
};

// Both write at most kMaxFieldText characters and return the end.

// REQUIRES: the field's source is the clock.
char* printField(const ModelField& field, const PrintedTime& time, char* out);

// REQUIRES: the field's source is the value or the zone. Null when its count does not fit in 64 bits.
[[nodiscard]] char* printZoneField(const ModelField& field, WideMicros micros, const ZoneOffset& offset, char* out);

// --- Numbers of the clock, for those who know the token when they are compiled ---------------------------------------

// A number and the characters that it takes at least: zeros fill it up behind its sign, as in C's "%04d".
struct Number {
  std::int64_t value;
  int width;
};

inline int hourOfTwelve(int hour) { return hour % 12 == 0 ? 12 : hour % 12; }

// Without width for a field that is no number. Of a token that the compiler knows, one line is left.
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
    case ModelToken::kSSSSS:
      return {clock.tm_hour * 3600 + clock.tm_min * 60 + clock.tm_sec, 5};
    default:
      return {0, 0};
  }
}

char* printWideNumber(Number number, char* out);

inline char* printNumber(Number number, char* out) {
  const bool twoDigits = number.width == 2 && number.value >= 0 && number.value < 100;
  return twoDigits ? printTwoDigits(static_cast<unsigned int>(number.value), out) : printWideNumber(number, out);
}

inline Number filled(Number number, bool fill) { return {number.value, fill ? 0 : number.width}; }

}  // namespace kyv_internal
