#pragma once

// The text of a format model's tokens, from a time that is taken apart. Nothing here scans a model, opens a zone or
// keeps anything: whoever has tokens and a time prints through these functions, one token at a time.

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <optional>

#include "datatypes/format_tokens.h"
#include "datatypes/time_zone.h"

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

// A field as the model has it.
struct ModelField {
  ModelToken token;
  DataTypes::TimeFormatParser::Case letters;  // of names
  char digit;                                 // of FFn, '1' to '9'
  bool fill;                                  // nothing is padded, fractions lose their trailing zeros
};

struct PrintedTime {
  const std::tm& clock;   // in the zone
  std::int32_t fraction;  // microseconds, negative for some values before 1970
  bool threeDigitFraction = false;
};

// Both write at most kMaxFieldText characters and return the end.

// REQUIRES: the field's source is the clock.
char* printField(const ModelField& field, const PrintedTime& time, char* out);

// Microseconds since 1970 of any 64-bit value in any unit.
using WideMicros = __int128;

// REQUIRES: the field's source is the value or the zone. Null when its count does not fit in 64 bits.
[[nodiscard]] char* printZoneField(const ModelField& field, WideMicros micros, const ZoneOffset& offset, char* out);

}  // namespace kyv_internal
