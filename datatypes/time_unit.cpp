#include "kyv/time_unit.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <string_view>

namespace kyv_internal {
namespace {

using DataTypes::TimeUnit;

struct UnitRow {
  std::array<std::string_view, 3> names;
  const char* printedName;
  std::int64_t micros;  // of one unit
};

// From kMicrosecondUnit on.
constexpr UnitRow kUnits[] = {
    {{"MICROS", "MICROSECOND", "MICROSECONDS"}, "MICROSECOND", 1},
    {{"MILLIS", "MILLISECOND", "MILLISECONDS"}, "MILLISECOND", 1000},
    {{"SEC", "SECOND", "SECONDS"}, "SECOND", 1'000'000},
    {{"MIN", "MINUTE", "MINUTES"}, "MINUTE", 60'000'000},
    {{"HR", "HOUR", "HOURS"}, "HOUR", 3'600'000'000},
    {{"DAY", "DAYS", "DAYS"}, "DAY", 86'400'000'000},  // it has two names only
};
constexpr std::size_t kUnitCount = std::size(kUnits);

constexpr std::array<std::int64_t, kUnitCount> kLargestAmounts = [] {
  std::array<std::int64_t, kUnitCount> amounts{};
  std::ranges::transform(kUnits, amounts.begin(),
                         [](const UnitRow& unit) { return std::numeric_limits<std::int64_t>::max() / unit.micros; });
  return amounts;
}();

constexpr std::int64_t kMicrosPerSecond = 1'000'000;
constexpr std::int64_t kMostSeconds = std::numeric_limits<std::int32_t>::max();
constexpr unsigned int kNoSeconds = ~0U;

// A unit's place in the tables; kUnitCount or more for a unit that has none.
std::size_t indexOf(TimeUnit unit) { return std::size_t{unit} - DataTypes::kMicrosecondUnit; }

bool isKnown(TimeUnit unit) { return indexOf(unit) < kUnitCount; }

}  // namespace
}  // namespace kyv_internal

namespace DataTypes {

using kyv_internal::indexOf;
using kyv_internal::isKnown;
using kyv_internal::kUnits;

TimeUnit getTimeUnit(const char* name) {
  if (name == nullptr) return kNoTimeUnit;
  const auto* const row = std::ranges::find_if(kUnits, [name](const kyv_internal::UnitRow& unit) {
    return std::ranges::find(unit.names, std::string_view(name)) != unit.names.end();
  });
  if (row == std::end(kUnits)) return kUnknownTimeUnit;
  return static_cast<TimeUnit>(kMicrosecondUnit + (row - kUnits));
}

// Required as is: an amount below one whole second is refused, not rounded to 0; none at all of those units is, too.
unsigned int getSeconds(TimeUnit unit, int amount) {
  if (amount < 0 || !isKnown(unit)) return kyv_internal::kNoSeconds;
  const std::int64_t micros = kUnits[indexOf(unit)].micros;
  const bool partOfASecond = micros < kyv_internal::kMicrosPerSecond;
  const std::int64_t seconds = partOfASecond ? amount / (kyv_internal::kMicrosPerSecond / micros)
                                             : amount * (micros / kyv_internal::kMicrosPerSecond);
  const bool refused = seconds > kyv_internal::kMostSeconds || (partOfASecond && seconds == 0);
  return refused ? kyv_internal::kNoSeconds : static_cast<unsigned int>(seconds);
}

bool getMicroSeconds(TimeUnit unit, long amount, long& result) {
  if (!isKnown(unit)) return false;
  const long largest = getTimeUnitMax(unit);
  // A microsecond amount is taken as it is, the lowest of all included, which has no magnitude.
  if (unit != kMicrosecondUnit && (amount > largest || amount < -largest)) return false;
  result = amount * kUnits[indexOf(unit)].micros;
  return true;
}

std::string getTimeUnitStr(TimeUnit unit) { return isKnown(unit) ? kUnits[indexOf(unit)].printedName : "UNKNOWN"; }

long getTimeUnitMax(TimeUnit unit) { return isKnown(unit) ? kyv_internal::kLargestAmounts[indexOf(unit)] : 0; }

std::string getTimeUnitMaxStr(TimeUnit unit) { return std::to_string(getTimeUnitMax(unit)); }

std::string getTimeUnitMinStr(TimeUnit unit) { return std::to_string(-getTimeUnitMax(unit)); }

}  // namespace DataTypes
