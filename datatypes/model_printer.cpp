#include "datatypes/model_printer.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <string_view>

#include "datatypes/time_name_tables.h"
#include "datatypes/two_digits.h"

namespace kyv_internal {
namespace {

using enum ModelToken;

// A number and the characters that it takes at least: zeros fill it up behind its sign, as in C's "%04d".
struct Number {
  std::int64_t value;
  int width;
};

char* printDigits(std::uint64_t magnitude, int width, char* out) {
  char digits[std::numeric_limits<std::uint64_t>::digits10 + 1];
  const char* const end = std::to_chars(digits, digits + sizeof digits, magnitude).ptr;
  for (auto missing = width - (end - digits); missing > 0; --missing) *out++ = '0';
  return std::copy(static_cast<const char*>(digits), end, out);
}

char* printNumber(Number number, char* out) {
  const auto [value, width] = number;
  if (width == 2 && value >= 0 && value < 100) return printTwoDigits(static_cast<unsigned int>(value), out);
  if (value >= 0) return printDigits(static_cast<std::uint64_t>(value), width, out);
  *out++ = '-';
  return printDigits(-static_cast<std::uint64_t>(value), width - 1, out);
}

int hourOfTwelve(int hour) { return hour % 12 == 0 ? 12 : hour % 12; }

Number numberOf(ModelToken token, const std::tm& clock) {
  const std::int64_t year = std::int64_t{clock.tm_year} + 1900;
  switch (token) {
    case kYYYY:
      return {static_cast<std::int16_t>(year), 4};
    case kYYY:
      return {year % 1000, 3};
    case kYY:
      return {year % 100, 2};
    case kY:
      return {year % 10, 1};
    case kQ:
      return {clock.tm_mon / 3 + 1, 1};
    case kMM:
      return {clock.tm_mon + 1, 2};
    case kWW:
      return {clock.tm_yday / 7 + 1, 2};
    case kW:
      return {(clock.tm_mday - 1) / 7 + 1, 1};
    case kDDD:
      return {clock.tm_yday + 1, 3};
    case kDD:
      return {clock.tm_mday, 2};
    case kD:
      return {clock.tm_wday + 1, 1};
    case kHH:
    case kHH12:
      return {hourOfTwelve(clock.tm_hour), 2};
    case kHH24:
      return {clock.tm_hour, 2};
    case kMI:
      return {clock.tm_min, 2};
    case kSS:
      return {clock.tm_sec, 2};
    default:  // kSSSSS
      return {clock.tm_hour * 3600 + clock.tm_min * 60 + clock.tm_sec, 5};
  }
}

// --- Names ----------------------------------------------------------------------------------------------------------

std::size_t indexOfName(ModelToken token, const std::tm& clock) {
  switch (token) {
    case kAM:
    case kPM:
      return clock.tm_hour < 12 ? 0 : 1;
    case kDAY:
    case kDY:
      return static_cast<std::size_t>(clock.tm_wday);
    default:
      return static_cast<std::size_t>(clock.tm_mon);
  }
}

// Required as is: of all names only those of months are padded, and on their left.
constexpr std::size_t kMonthWidth = 9;

char* printName(const ModelField& field, std::string_view name, char* out) {
  if (field.token == kMONTH && !field.fill && name.size() < kMonthWidth) {
    out = std::fill_n(out, kMonthWidth - name.size(), ' ');
  }
  return std::ranges::copy(name, out).out;
}

// --- Fractions ------------------------------------------------------------------------------------------------------

constexpr int kMicroDigits = 6;

constexpr double kRoundingSteps[] = {100000, 10000, 1000, 100, 10, 1, 0.1, 0.01, 0.001};  // of 1 to 9 digits
constexpr int kPowersOfTen[] = {1, 10, 100, 1000, 10000, 100000};

// Required as is: halves are rounded up, and what that carries stays in the fraction: 999600 in three digits is 1000.
Number roundedFraction(int fraction, int digits) {
  const double step = kRoundingSteps[digits - 1];
  const int rounded = static_cast<int>(std::floor(fraction / step + 0.5) * step);
  if (digits > kMicroDigits) return {rounded * kPowersOfTen[digits - kMicroDigits], digits};
  return {rounded / kPowersOfTen[kMicroDigits - digits], digits};
}

Number fractionOf(const ModelField& field, const PrintedTime& time) {
  if (field.token == kFFn) return roundedFraction(time.fraction, field.digit - '0');
  return time.threeDigitFraction ? Number{time.fraction % 1000, 3} : Number{time.fraction, kMicroDigits};
}

// Required as is: in fill mode a fraction loses the zeros of both its ends, so 1000 microseconds print as "1".
char* printFraction(Number fraction, bool fill, char* out) {
  if (!fill) return printNumber(fraction, out);
  char* end = printNumber({fraction.value, 0}, out);
  while (end - out > 1 && end[-1] == '0') --end;
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
  return printNumber({static_cast<std::int64_t>(count), field.token == kMIC && !field.fill ? 16 : 0}, out);
}

char* printOffsetHours(const ZoneOffset& offset, char* out) {
  const int hours = offset.total() / kMillisPerHour;
  if (hours < 0) *out++ = '-';
  return printNumber({std::abs(hours), 2}, out);
}

// Required as is: daylight saving does not count, though it does for the hours.
char* printOffsetMinutes(const ZoneOffset& offset, char* out) {
  return printNumber({std::abs(offset.raw / kMillisPerMinute % 60), 2}, out);
}

}  // namespace

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

char* printField(const ModelField& field, const PrintedTime& time, char* out) {
  if (field.token == kFF || field.token == kFFn) return printFraction(fractionOf(field, time), field.fill, out);
  const std::span<const NameSlot> names = namesOf(field.token, field.letters);
  if (!names.empty()) return printName(field, names[indexOfName(field.token, time.clock)].view(), out);
  const auto [value, width] = numberOf(field.token, time.clock);
  return printNumber({value, field.fill ? 0 : width}, out);
}

char* printZoneField(const ModelField& field, WideMicros micros, const ZoneOffset& offset, char* out) {
  if (field.token == kTZH) return printOffsetHours(offset, out);
  if (field.token == kTZM) return printOffsetMinutes(offset, out);
  return printCount(field, countOf(field.token, micros, offset), out);
}

}  // namespace kyv_internal
