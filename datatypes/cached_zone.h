#pragma once

// A zone whose changes and names were looked up once, so that asking it neither allocates nor takes the zone library.
//
// Threads: it may be read from any thread at once.

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "datatypes/daylight_table.h"
#include "datatypes/time_zone.h"

namespace kyv_internal {

class CachedZone {
 public:
  enum class Names { kNone, kBoth };

  // UTC, without names.
  CachedZone() = default;

  // Nothing unless ICU knows a zone that has exactly this name. Null and the empty name are UTC. The names for people
  // are kept when they are asked for.
  [[nodiscard]] static std::optional<CachedZone> open(const char* name, Names names);

  // As it was opened with.
  const std::string& name() const { return name_; }

  // At an instant in milliseconds since 1970 UTC: what Zone::offsetAt says.
  ZoneOffset offsetAt(double millis) const;

  // What clocks are ahead of UTC at seconds since 1970, in seconds. REQUIRES: ICU's calendar reaches there.
  std::int32_t secondsAheadAt(std::int64_t seconds) const {
    return secondsAhead_[static_cast<std::size_t>(daylight_.inForceAt(seconds))];
  }

  std::string_view displayName(bool daylight, Zone::NameStyle style) const {
    return names_[static_cast<std::size_t>(daylight)][static_cast<std::size_t>(style)];
  }

 private:
  std::string name_ = "UTC";
  DaylightTable daylight_;
  std::int32_t raw_ = 0;     // milliseconds
  std::int32_t saving_ = 0;  // milliseconds
  std::array<std::int32_t, 2> secondsAhead_{};
  std::array<std::array<std::string, 2>, 2> names_;
};

}  // namespace kyv_internal
