#pragma once

// What a text has said to a format model: which things may stand together, and the value of all of them.

#include <cstdint>
#include <optional>

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
