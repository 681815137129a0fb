#pragma once

// Time zones by name, as ICU knows them. A zone has one offset from UTC, today's, and one daylight saving; which of the
// two forms is in force at an instant is all that is looked up.
//
// Threads: a zone may be read from any thread at once.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "datatypes/daylight_table.h"

namespace kyv_internal {

// What a zone's clocks show at one instant, in milliseconds.
struct ZoneOffset {
  std::int32_t raw;     // from UTC, without daylight saving
  std::int32_t saving;  // added to it; 0 when daylight saving is not in force
  bool daylight;        // whether it is: a zone may have a saving of 0

  std::int32_t total() const { return raw + saving; }
};

// The instants that ICU has a calendar for: the first and the last day of its years, in milliseconds.
inline constexpr double kFirstInstant = -184303902528000000.0;
inline constexpr double kLastInstant = 183882168921600000.0;

class Zone {
 public:
  enum class NameStyle { kShort, kLong };

  // UTC, without asking ICU.
  Zone() = default;

  // Nothing for a name that ICU does not know. Null and the empty name are UTC.
  [[nodiscard]] static std::optional<Zone> open(const char* name);

  // The zone's own name, which may be another one than it was opened with.
  std::string id() const;

  std::int32_t rawOffset() const { return rawOffset_; }

  // At an instant in milliseconds since 1970 UTC; nothing when ICU reports an error. Instants that are millions of
  // years away have the offset of the last one that ICU can tell.
  [[nodiscard]] std::optional<ZoneOffset> offsetAt(double millis) const {
    return rules_ == nullptr ? ZoneOffset{0, 0, false} : offsetByRules(millis);
  }

  // The same of any instant in its calendar, without the zone. Takes about a millisecond.
  DaylightTable daylightTable() const;

  // What daylight saving adds while it is in force, in milliseconds.
  std::int32_t saving() const { return saving_; }

  // The name for people, in the process's default locale, as UTF-8.
  std::string displayName(bool daylight, NameStyle style) const;

 private:
  struct Rules;
  struct DeleteRules {
    void operator()(Rules* rules) const;
  };
  using RulesPtr = std::unique_ptr<Rules, DeleteRules>;

  static RulesPtr rulesOf(std::string_view name);
  std::optional<ZoneOffset> offsetByRules(double millis) const;

  RulesPtr rules_;  // null: UTC
  std::int32_t rawOffset_ = 0;
  std::int32_t saving_ = 0;
};

// What clocks of a zone show at seconds since 1970, as seconds again. Nothing for a name that ICU does not know, and
// where microseconds are beyond 64 bits.
[[nodiscard]] std::optional<std::int64_t> secondsInZone(const std::string& zoneName, std::int64_t seconds);

}  // namespace kyv_internal
