#include "datatypes/cached_zone.h"

#include <algorithm>

#include "datatypes/civil_time.h"

namespace kyv_internal {

std::optional<CachedZone> CachedZone::open(const char* name, Names names) {
  const std::optional<Zone> zone = Zone::open(name);
  CachedZone cached;
  if (name != nullptr && *name != '\0') cached.name_ = name;
  if (!zone || zone->id() != cached.name_) return std::nullopt;
  cached.daylight_ = zone->daylightTable();
  cached.raw_ = zone->rawOffset();
  cached.saving_ = zone->saving();
  cached.secondsAhead_ = {cached.raw_ / 1000, (cached.raw_ + cached.saving_) / 1000};
  if (names == Names::kNone) return cached;
  using enum Zone::NameStyle;
  for (const bool daylight : {false, true}) {
    cached.names_[daylight] = {zone->displayName(daylight, kShort), zone->displayName(daylight, kLong)};
  }
  return cached;
}

ZoneOffset CachedZone::offsetAt(double millis) const {
  const auto whole = static_cast<std::int64_t>(std::clamp(millis, kFirstInstant, kLastInstant));
  const bool daylight = daylight_.inForceAt(splitCount<1000>(whole).whole);
  return {raw_, daylight ? saving_ : 0, daylight};
}

}  // namespace kyv_internal
