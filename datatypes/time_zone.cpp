#include "datatypes/time_zone.h"

#include <unicode/basictz.h>
#include <unicode/timezone.h>
#include <unicode/tzrule.h>
#include <unicode/tztrans.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <new>
#include <vector>

#include "kyv/time_to_string.h"

namespace kyv_internal {
namespace {

constexpr char kUtc[] = "UTC";  // and its end

// What ICU calls a zone that it does not know.
constexpr std::string_view kUnknownZone = "Etc/Unknown";

// More than any zone's name has. What is longer is unknown without asking.
constexpr std::size_t kLongestName = 255;

bool isUtc(const char* name) {
  if (name == nullptr || *name == '\0') return true;
  for (const char c : kUtc) {
    if (*name++ != c) return false;
  }
  return true;
}

std::string utf8(const icu::UnicodeString& text) {
  std::string out;
  text.toUTF8String(out);
  return out;
}

icu::UnicodeString unicode(std::string_view name) {
  return icu::UnicodeString::fromUTF8(icu::StringPiece(name.data(), static_cast<std::int32_t>(name.size())));
}

std::string idOf(const icu::TimeZone& zone) {
  icu::UnicodeString id;
  return utf8(zone.getID(id));
}

}  // namespace

struct Zone::Rules {
  std::unique_ptr<const icu::TimeZone> zone;

  // Every zone that ICU makes by its name is a basic one: it can tell its changes.
  const icu::BasicTimeZone& changing() const { return dynamic_cast<const icu::BasicTimeZone&>(*zone); }

  // When daylight saving comes into force or goes out of it, in seconds since 1970, up to the years that repeat.
  std::vector<std::int64_t> changesOfDaylight(bool inForce) const;
};

void Zone::DeleteRules::operator()(Rules* rules) const { delete rules; }

// Null for an unknown name.
Zone::RulesPtr Zone::rulesOf(std::string_view name) {
  if (name.size() > kLongestName) return nullptr;
  RulesPtr rules(new Rules{std::unique_ptr<const icu::TimeZone>(icu::TimeZone::createTimeZone(unicode(name)))});
  if (rules->zone == nullptr || idOf(*rules->zone) == kUnknownZone) rules.reset();
  return rules;
}

std::optional<Zone> Zone::open(const char* name) {
  if (isUtc(name)) return Zone();
  Zone zone;
  zone.rules_ = rulesOf(name);
  if (zone.rules_ == nullptr) return std::nullopt;
  zone.rawOffset_ = zone.rules_->zone->getRawOffset();
  zone.saving_ = zone.rules_->zone->getDSTSavings();
  return zone;
}

std::string Zone::id() const { return rules_ != nullptr ? idOf(*rules_->zone) : std::string(kUtc); }

std::optional<ZoneOffset> Zone::offsetByRules(double millis) const {
  UErrorCode error = U_ZERO_ERROR;
  const bool daylight = rules_->zone->inDaylightTime(std::clamp(millis, kFirstInstant, kLastInstant), error) != 0;
  if (U_FAILURE(error)) return std::nullopt;
  return ZoneOffset{rawOffset_, daylight ? saving_ : 0, daylight};
}

// When memory is exhausted ICU says that there are no more changes, or gives one without its rule.
std::vector<std::int64_t> Zone::Rules::changesOfDaylight(bool inForce) const {
  UErrorCode error = U_ZERO_ERROR;
  if (changing().countTransitionRules(error); error == U_MEMORY_ALLOCATION_ERROR) throw std::bad_alloc();
  std::vector<std::int64_t> changes;
  icu::TimeZoneTransition change;
  double millis = kFirstInstant;
  while (changing().getNextTransition(millis, 0, change)) {
    millis = change.getTime();
    const auto seconds = static_cast<std::int64_t>(millis / 1000);
    if (seconds >= DaylightTable::kCycleEnd) break;
    if (change.getTo() == nullptr) throw std::bad_alloc();
    if ((change.getTo()->getDSTSavings() != 0) == inForce) continue;
    inForce = !inForce;
    changes.push_back(seconds);
  }
  return changes;
}

DaylightTable Zone::daylightTable() const {
  if (rules_ == nullptr) return {};
  const bool before = offsetAt(kFirstInstant).value_or(ZoneOffset{}).daylight;
  DaylightTable table(before, rules_->changesOfDaylight(before));
  // The changes that come every year are missing when there was no memory for their rules.
  constexpr std::int64_t kMonth = 30 * kSecondsPerDay;
  for (std::int64_t at = DaylightTable::kCycleEnd - kMonth; at > DaylightTable::kCycleEnd - 13 * kMonth; at -= kMonth) {
    const auto offset = offsetAt(static_cast<double>(at) * 1000);
    if (!offset || offset->daylight != table.inForceAt(at)) throw std::bad_alloc();
  }
  return table;
}

std::string Zone::displayName(bool daylight, NameStyle style) const {
  const RulesPtr utc = rules_ == nullptr ? rulesOf(kUtc) : nullptr;
  const Rules* const rules = rules_ != nullptr ? rules_.get() : utc.get();
  if (rules == nullptr) return kUtc;
  icu::UnicodeString name;
  const auto length = style == NameStyle::kLong ? icu::TimeZone::LONG : icu::TimeZone::SHORT;
  rules->zone->getDisplayName(static_cast<UBool>(daylight), length, name);
  return utf8(name);
}

// The zone's own name may be another one than it was opened with.
std::optional<std::int64_t> secondsInZone(const std::string& zoneName, std::int64_t seconds) {
  constexpr std::int64_t kMicrosPerSecond = 1'000'000;
  const std::optional<Zone> zone = Zone::open(zoneName.c_str());
  long micros;
  if (!zone || __builtin_mul_overflow(seconds, kMicrosPerSecond, &micros) ||
      !DataTypes::toTimeZone(micros, "UTC", zone->id().c_str(), micros))
    return std::nullopt;
  return micros / kMicrosPerSecond;
}

}  // namespace kyv_internal

namespace DataTypes {

using kyv_internal::Zone;

bool isValidTimezone(const char* name) {
  if (kyv_internal::isUtc(name)) return true;
  const std::optional<Zone> zone = Zone::open(name);
  return zone && zone->id() == name;
}

bool toTimeZone(long micros, const char* from, const char* to, long& result) {
  const std::optional<Zone> source = Zone::open(from), target = Zone::open(to);
  if (!source || !target) return false;
  const long millis = micros / 1000;
  const auto sourceOffset = source->offsetAt(static_cast<double>(millis - source->rawOffset()));
  if (!sourceOffset) return false;
  const long instant = millis - sourceOffset->total();
  const auto targetOffset = target->offsetAt(static_cast<double>(instant));
  long shifted;
  if (!targetOffset || __builtin_mul_overflow(instant + targetOffset->total(), 1000L, &shifted)) return false;
  result = shifted;
  return true;
}

}  // namespace DataTypes
