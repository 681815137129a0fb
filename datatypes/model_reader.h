#pragma once

// What the tokens of a format model read from a text, and the value of all that was read. Nothing here scans a model or
// opens a zone: whoever has tokens and a text reads through these functions, one token at a time.

#include <cstdint>
#include <optional>
#include <string_view>

#include "datatypes/format_tokens.h"
#include "kyv/time_from_string.h"

namespace kyv_internal {

// The things that a text can say, a bit each. Which of them a token reads, and beside which it may not stand, is known
// from the model alone.
using GivenFields = std::uint32_t;

struct FieldClaim {
  GivenFields gives;     // 0: the token cannot be read
  GivenFields excludes;  // none of these may stand before it
};

FieldClaim claimOf(ModelToken token);

// Whether any of them is the year or a count.
bool tellsYear(GivenFields fields);

// All that a text has said.
GivenFields givenIn(const DataTypes::FoundTime& found);

struct ReadingField {
  ModelToken token;
  DataTypes::TimeFormatParser::Case letters;  // of names
  bool exact;                                 // exact mode: no white space is skipped
  bool fill;                                  // numbers may be short in exact mode, too
};

// Each takes its part from where the input stands, after white space unless in exact mode; false when the part is not
// there.

[[nodiscard]] bool readLiteral(DataTypes::TextInput& input, char literal, bool exact);

// REQUIRES: the token can be read and is no zone's name; nothing was found that it excludes.
[[nodiscard]] bool readField(const ReadingField& field, DataTypes::TextInput& input, DataTypes::FoundTime& found);

constexpr bool readsZoneName(ModelToken token) { return token == ModelToken::kTZR || token == ModelToken::kTZD; }

// The characters that zones' names are made of, as many as there are.
std::string_view readZoneName(DataTypes::TextInput& input, bool exact);

// Whether nothing is left but white space, which is no exception in exact mode.
[[nodiscard]] bool readEnd(DataTypes::TextInput& input, bool exact);

// The year that RR, YYY, YY and Y stand for.
int yearOfDigits(ModelToken token, int digits, int currentYear);

// --- The value of what was found ------------------------------------------------------------------------------------

struct FoundInstant {
  std::int64_t seconds;  // since 1970
  std::int32_t micros;   // 0 to 999999
};

// Without the shift of a named zone. Nothing for a count beyond the calendar's years.
// REQUIRES: no microseconds were given, which are the value themselves.
[[nodiscard]] std::optional<FoundInstant> instantOf(const DataTypes::FoundTime& found);

// In units of some microseconds, of which a second has a whole number; nothing beyond 64 bits.
[[nodiscard]] std::optional<std::int64_t> countOf(const FoundInstant& instant, std::int64_t microsPerUnit);

// The value in such units. `shift(seconds)` gives what clocks of the zone that was named show then, if anything.
template <class Shift>
[[nodiscard]] std::optional<std::int64_t> valueOf(const DataTypes::FoundTime& found, std::int64_t microsPerUnit,
                                                  Shift shift) {
  if (found.hasMicros) return found.micros / microsPerUnit;
  std::optional<FoundInstant> instant = instantOf(found);
  if (instant && found.hasZone) {
    // Required as is: the text is taken for UTC, and shifted into the zone that it names.
    const std::optional<std::int64_t> shifted = shift(instant->seconds);
    if (!shifted) return std::nullopt;
    instant->seconds = *shifted;
  }
  return instant ? countOf(*instant, microsPerUnit) : std::nullopt;
}

}  // namespace kyv_internal
