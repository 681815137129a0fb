#include "datatypes/model_printer.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <string_view>

#include "datatypes/civil_time.h"
#include "datatypes/time_name_tables.h"

namespace kyv_internal {

using enum ModelToken;

FieldSource sourceOf(ModelToken token) {
  switch (token) {
    case kLiteral:
    case kFM:
    case kFX:
    case kRR:
    case kRRRR:
    case kDAYS:
    case kHOURS:
    case kMINUTES:
    case kSECONDS:
      return FieldSource::kNone;
    case kAM:
    case kPM:
    case kDAY:
    case kDY:
    case kMON:
    case kMONTH:
    case kRM:
      return FieldSource::kName;
    case kFF:
    case kFFn:
      return FieldSource::kFraction;
    case kMIC:
      return FieldSource::kMicros;
    case kMS:
    case kSE:
    case kTZH:
    case kTZM:
      return FieldSource::kZone;
    case kTZD:
    case kTZR:
      return FieldSource::kZoneName;
    default:
      return FieldSource::kNumber;
  }
}

// Zones are whole seconds away from UTC.
std::optional<std::tm> clockOf(std::int64_t seconds, const Zone& zone) {
  if (!hasCalendarYear(seconds)) return std::nullopt;
  const std::optional<ZoneOffset> offset = zone.offsetAt(static_cast<double>(seconds) * 1000);
  return offset ? brokenDownTime(seconds + offset->total() / 1000) : std::nullopt;
}

// --- Numbers --------------------------------------------------------------------------------------------------------

namespace {

char* printDigits(std::uint64_t magnitude, int width, char* out) {
  char digits[std::numeric_limits<std::uint64_t>::digits10 + 1];
  const char* const end = std::to_chars(digits, digits + sizeof digits, magnitude).ptr;
  for (auto missing = width - (end - digits); missing > 0; --missing) *out++ = '0';
  return std::copy(static_cast<const char*>(digits), end, out);
}

}  // namespace

char* printWideNumber(Number number, char* out) {
  const auto [value, width] = number;
  if (width == 4 && value >= 0 && value < 10000) {
    const auto year = static_cast<unsigned int>(value);
    return printTwoDigits(year % 100, printTwoDigits(year / 100, out));
  }
  if (value >= 0) return printDigits(static_cast<std::uint64_t>(value), width, out);
  *out++ = '-';
  return printDigits(-static_cast<std::uint64_t>(value), width - 1, out);
}

// --- Names ----------------------------------------------------------------------------------------------------------

namespace {

std::string_view nameOf(ModelToken token, DataTypes::TimeFormatParser::Case letters, const std::tm& clock) {
  const bool ofTheDay = token == kAM || token == kPM;
  const bool ofTheWeek = token == kDAY || token == kDY;
  const int index = ofTheDay ? clock.tm_hour / 12 : ofTheWeek ? clock.tm_wday : clock.tm_mon;
  return namesOf(token, letters)[static_cast<std::size_t>(index)].view();
}

}  // namespace

// Required as is: of all names only those of months are padded, and on their left.
char* printName(ModelToken token, DataTypes::TimeFormatParser::Case letters, const std::tm& clock, Padding padding,
                char* out) {
  constexpr std::size_t kMonthWidth = 9;
  const std::string_view name = nameOf(token, letters, clock);
  if (token == kMONTH && padding == Padding::kFull) out = std::fill_n(out, kMonthWidth - name.size(), ' ');
  return std::ranges::copy(name, out).out;
}

// --- Fractions ------------------------------------------------------------------------------------------------------

namespace {

constexpr int kMicroDigits = 6;

constexpr double kRoundingSteps[] = {100000, 10000, 1000, 100, 10, 1, 0.1, 0.01, 0.001};  // of 1 to 9 digits
constexpr int kScales[] = {1, 10, 100, 1000, 10000, 100000};

}  // namespace

// Required as is: halves are rounded up, and what that carries stays in the fraction: 999600 in three digits is 1000.
Number roundedFraction(std::int32_t micros, int digits) {
  const double step = kRoundingSteps[digits - 1];
  const int rounded = static_cast<int>(std::floor(micros / step + 0.5) * step);
  if (digits > kMicroDigits) return {rounded * kScales[digits - kMicroDigits], digits};
  return {rounded / kScales[kMicroDigits - digits], digits};
}

// Required as is: in fill mode a fraction loses the zeros of both its ends, so 1000 microseconds print as "1".
char* printFraction(Number number, Padding padding, char* out) {
  char* end = printNumber(number, padding, out);
  while (padding == Padding::kFill && end - out > 1 && end[-1] == '0') --end;
  return end;
}

// --- Counts and offsets ---------------------------------------------------------------------------------------------

namespace {

constexpr std::int32_t kMillisPerMinute = 60'000;
constexpr std::int32_t kMillisPerHour = 60 * kMillisPerMinute;

std::optional<Number> countOf(WideMicros count, int width) {
  using Limits = std::numeric_limits<std::int64_t>;
  if (count < Limits::min() || count > Limits::max()) return std::nullopt;
  return Number{static_cast<std::int64_t>(count), width};
}

}  // namespace

std::optional<Number> microsOf(WideMicros micros) { return countOf(micros, 16); }

std::optional<Number> zoneNumberOf(ModelToken token, WideMicros micros, const ZoneOffset& offset) {
  const int hours = offset.total() / kMillisPerHour;
  switch (token) {
    case kMS:
      return countOf(micros / 1000 + offset.total(), 0);
    case kSE:
      return countOf((micros / 1000 + offset.total()) / 1000, 0);
    case kTZH:
      return Number{hours, hours < 0 ? 3 : 2};  // two digits behind the sign
    default:                                    // kTZM
      // Required as is: daylight saving does not count, though it does for the hours.
      return Number{std::abs(offset.raw / kMillisPerMinute % 60), 2};
  }
}

}  // namespace kyv_internal
