#include "datatypes/model_printer.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <span>
#include <string_view>

#include "datatypes/civil_time.h"
#include "datatypes/time_name_tables.h"

namespace kyv_internal {

using enum ModelToken;

FieldSource sourceOf(ModelToken token) {
  switch (token) {
    case kMIC:
      return FieldSource::kValue;
    case kMS:
    case kSE:
    case kTZH:
    case kTZM:
      return FieldSource::kZone;
    case kTZD:
    case kTZR:
      return FieldSource::kZoneName;
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
    default:
      return FieldSource::kClock;
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

std::size_t indexOfName(ModelToken token, const std::tm& clock) {
  const bool ofTheDay = token == kAM || token == kPM;
  const bool ofTheWeek = token == kDAY || token == kDY;
  return static_cast<std::size_t>(ofTheDay ? clock.tm_hour / 12 : ofTheWeek ? clock.tm_wday : clock.tm_mon);
}

// Required as is: of all names only those of months are padded, and on their left.
char* printName(const ModelField& field, std::string_view name, char* out) {
  constexpr std::size_t kMonthWidth = 9;
  if (field.token == kMONTH && !field.fill) out = std::fill_n(out, kMonthWidth - name.size(), ' ');
  return std::ranges::copy(name, out).out;
}

// --- Fractions ------------------------------------------------------------------------------------------------------

constexpr int kMicroDigits = 6;

constexpr double kRoundingSteps[] = {100000, 10000, 1000, 100, 10, 1, 0.1, 0.01, 0.001};  // of 1 to 9 digits
constexpr int kScales[] = {1, 10, 100, 1000, 10000, 100000};

// Required as is: halves are rounded up, and what that carries stays in the fraction: 999600 in three digits is 1000.
Number roundedFraction(std::int32_t micros, int digits) {
  const double step = kRoundingSteps[digits - 1];
  const int rounded = static_cast<int>(std::floor(micros / step + 0.5) * step);
  if (digits > kMicroDigits) return {rounded * kScales[digits - kMicroDigits], digits};
  return {rounded / kScales[kMicroDigits - digits], digits};
}

Number fractionOf(const ModelField& field, const PrintedTime& time) {
  if (field.token == kFFn) return roundedFraction(time.fraction, field.digit - '0');
  return time.threeDigitFraction ? Number{time.fraction % 1000, 3} : Number{time.fraction, kMicroDigits};
}

// Required as is: in fill mode a fraction loses the zeros of both its ends, so 1000 microseconds print as "1".
char* printFraction(Number fraction, bool fill, char* out) {
  char* end = printNumber(filled(fraction, fill), out);
  while (fill && end - out > 1 && end[-1] == '0') --end;
  return end;
}

// --- Counts and offsets ---------------------------------------------------------------------------------------------

constexpr std::int32_t kMillisPerMinute = 60'000;
constexpr std::int32_t kMillisPerHour = 60 * kMillisPerMinute;

WideMicros countOf(ModelToken token, WideMicros micros, const ZoneOffset& offset) {
  if (token == kMIC) return micros;
  const WideMicros millis = micros / 1000 + offset.total();
  return token == kMS ? millis : millis / 1000;
}

char* printCount(const ModelField& field, WideMicros count, char* out) {
  using Limits = std::numeric_limits<std::int64_t>;
  if (count < Limits::min() || count > Limits::max()) return nullptr;
  const int width = field.token == kMIC && !field.fill ? 16 : 0;
  return printNumber({static_cast<std::int64_t>(count), width}, out);
}

}  // namespace

// --- Any field ------------------------------------------------------------------------------------------------------

std::size_t longestFieldText(ModelToken token) {
  constexpr std::size_t kCount = 20, kFraction = 11, kName = 9, kShortNumber = 6;
  switch (token) {
    case kLiteral:
      return 1;
    case kMIC:
    case kMS:
    case kSE:
      return kCount;
    case kFF:
    case kFFn:
      return kFraction;
    case kMONTH:
    case kDAY:
      return kName;
    default:
      return kShortNumber;
  }
}

char* printField(const ModelField& field, const PrintedTime& time, char* out) {
  const Number number = numberOf(field.token, time.clock);
  if (number.width > 0) return printNumber(filled(number, field.fill), out);
  const std::span<const NameSlot> names = namesOf(field.token, field.letters);
  if (!names.empty()) return printName(field, names[indexOfName(field.token, time.clock)].view(), out);
  return printFraction(fractionOf(field, time), field.fill, out);
}

char* printZoneField(const ModelField& field, WideMicros micros, const ZoneOffset& offset, char* out) {
  const int hours = offset.total() / kMillisPerHour;
  switch (field.token) {
    case kTZH:
      return printNumber({hours, hours < 0 ? 3 : 2}, out);  // two digits behind the sign
    case kTZM:
      // Required as is: daylight saving does not count, though it does for the hours.
      return printNumber({std::abs(offset.raw / kMillisPerMinute % 60), 2}, out);
    default:
      return printCount(field, countOf(field.token, micros, offset), out);
  }
}

}  // namespace kyv_internal
