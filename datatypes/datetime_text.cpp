#include "datatypes/datetime_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

#include "datatypes/civil_time.h"
#include "datatypes/digit_block.h"
#include "datatypes/two_digits.h"
#include "datatypes/usual_time.h"
#include "kyv/data_value.h"
#include "services/malloc_ptr.h"

namespace kyv_internal {

namespace {

// What is said of a text whose seconds cannot be read.
struct SecondsMessages {
  kyv::TimeType type;
  const char* noCount;        // "%s" and no number
  const char* countOverflow;  // "%s" and a number beyond 64 bits
  const char* noMatch;
};

constexpr SecondsMessages kDateMessages = {.type = kyv::TimeType::kDate,
                                           .noCount = "date constant does not match standard format",
                                           .countOverflow = "date constant does not match standard format",
                                           .noMatch = "date constant does not match format"};
constexpr SecondsMessages kTimeMessages = {.type = kyv::TimeType::kTime,
                                           .noCount = "time constant does not match standard format",
                                           .countOverflow = "time constant does not match standard format",
                                           .noMatch = "time constant does not match format"};

// A type that counts fractions of a second.
struct FractionType {
  std::int32_t unit;  // of a second
  std::size_t digits;
  SecondsMessages messages;
};

constexpr FractionType kTimestamp = {.unit = 1000,
                                     .digits = 3,
                                     .messages = {.type = kyv::TimeType::kTimestamp,
                                                  .noCount = "timestamp constant does not match format",
                                                  .countOverflow = "timestamp overflow",
                                                  .noMatch = "timestamp constant does not match format"}};
constexpr FractionType kBigDateTime = {.unit = 1'000'000,
                                       .digits = 6,
                                       .messages = {.type = kyv::TimeType::kBigDateTime,
                                                    .noCount = "bigdatetime constant does not match format",
                                                    .countOverflow = "bigdatetime overflow",
                                                    .noMatch = "bigdatetime constant does not match format"}};

struct SplitText {
  std::string_view datetime;
  std::array<char, 6> fraction = {'0', '0', '0', '0', '0', '0'};  // of which a type takes its first digits

  std::string_view fractionText(std::size_t digits) const { return {fraction.data(), digits}; }
};

// The characters behind the last "." overwrite the fraction from the left, white space skipped. Required as is: that
// "." is the fraction's even where the format has points of its own, so "%d.%m.%Y" does not match "13.02.2009".
SplitText splitText(std::string_view text, std::size_t digits) {
  SplitText split = {.datetime = text};
  const void* point = text.empty() ? nullptr : memrchr(text.data(), '.', text.size());
  if (!point) return split;
  split.datetime = text.substr(0, static_cast<std::size_t>(static_cast<const char*>(point) - text.data()));
  std::size_t count = 0;
  for (const char c : text.substr(split.datetime.size() + 1)) {
    if (count == digits) break;
    if (!isSpace(c)) split.fraction[count++] = c;
  }
  return split;
}

// Required as is: any characters may stand in the fraction, which is read as strtol reads them: an optional sign and
// digits up to the first other character. So ".1x" is 1 millisecond, and ".-5" takes 50 away.
int readFraction(std::string_view fraction) {
  const bool negative = fraction.front() == '-';
  if (negative || fraction.front() == '+') fraction.remove_prefix(1);
  int value = 0;
  for (const char c : fraction) {
    if (!isDigit(c)) break;
    value = 10 * value + (c - '0');
  }
  return negative ? -value : value;
}

// The number that the text begins with, after white space; what follows it does not matter.
Parsed<std::int64_t> readCount(std::string_view text, const SecondsMessages& messages) {
  while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
  if (text.size() > 1 && text.front() == '+' && isDigit(text[1])) text.remove_prefix(1);
  Parsed<std::int64_t> count;
  const std::errc status = std::from_chars(text.data(), text.data() + text.size(), count.value).ec;
  if (status == std::errc::invalid_argument) count.error = messages.noCount;
  if (status == std::errc::result_out_of_range) count.error = messages.countOverflow;
  return count;
}

Parsed<std::int64_t> readCalendar(std::string_view text, const PercentFormat& format, const SecondsMessages& messages) {
  std::int64_t seconds = 0;
  return format.parse(text, seconds) ? Parsed<std::int64_t>{seconds} : Parsed<std::int64_t>::failure(messages.noMatch);
}

// The whole value, in its type's unit. What the model does not name is taken from 1970-01-01 00:00:00, as everywhere in
// rows, and not from 1900.
Parsed<std::int64_t> readByModel(std::string_view text, const kyv::TimeModel& model, std::int32_t unitsPerSecond,
                                 const SecondsMessages& messages) {
  constexpr std::int64_t kSecondsFrom1900 = -daysFromCivil(1900, 1, 1) * kSecondsPerDay;
  const std::optional<std::int64_t> value = model.parse(messages.type, text);
  if (!value) return Parsed<std::int64_t>::failure(messages.noMatch);
  return {model.readsYear() ? *value : *value + kSecondsFrom1900 * unitsPerSecond};
}

[[gnu::noinline]] Parsed<std::int64_t> parseAnySeconds(std::string_view text, const PercentFormat& format,
                                                       const SecondsMessages& messages) {
  switch (format.kind()) {
    case PercentFormat::Kind::kCalendar:
      return readCalendar(text, format, messages);
    case PercentFormat::Kind::kSeconds:
      return readCount(text, messages);
    case PercentFormat::Kind::kModel:
      break;
  }
  return readByModel(text, format.model(), 1, messages);
}

Parsed<std::int64_t> parseSeconds(std::string_view text, const PercentFormat& format, const SecondsMessages& messages) {
  std::int64_t seconds = 0;
  return format.parseUsual(text, seconds) ? Parsed<std::int64_t>{seconds} : parseAnySeconds(text, format, messages);
}

template <const FractionType& type>
[[gnu::noinline]] Parsed<std::int64_t> parseAnyFraction(std::string_view text, const PercentFormat& format) {
  constexpr std::int64_t kMaxSeconds = std::numeric_limits<std::int64_t>::max() / type.unit;
  if (format.kind() == PercentFormat::Kind::kModel) return readByModel(text, format.model(), type.unit, type.messages);
  const SplitText split = splitText(text, type.digits);
  Parsed<std::int64_t> parsed = format.kind() == PercentFormat::Kind::kSeconds
                                    ? readCount(text, type.messages)
                                    : readCalendar(split.datetime, format, type.messages);
  if (parsed.error) return parsed;
  if (parsed.value > kMaxSeconds || parsed.value < -kMaxSeconds ||
      __builtin_add_overflow(parsed.value * type.unit, readFraction(split.fractionText(type.digits)), &parsed.value))
    parsed.error = type.messages.countOverflow;
  return parsed;
}

template <const FractionType& type>
Parsed<std::int64_t> parseWithFraction(std::string_view text, const PercentFormat& format) {
  std::int64_t count = 0;
  return readUsualFraction<type.digits>(text, format, count) ? Parsed<std::int64_t>{count}
                                                             : parseAnyFraction<type>(text, format);
}

template <std::size_t digits>
char* printFraction(std::int32_t fraction, char* out) {
  auto rest = static_cast<unsigned int>(fraction);
  *out = '.';
  for (std::size_t i = digits; i > 0; --i, rest /= 10) out[i] = static_cast<char>('0' + rest % 10);
  return out + digits + 1;
}

template <const FractionType& type>
std::size_t printWithFraction(std::int64_t count, const PercentFormat& format, ZeroFraction zero, char* out) {
  if (format.kind() == PercentFormat::Kind::kModel) return printByModel(format.model(), type.messages.type, count, out);
  const auto [seconds, fraction] = splitCount<type.unit>(count);
  const std::size_t size = format.print(seconds, out);
  if (size == 0 || (fraction == 0 && zero == ZeroFraction::Omitted)) return size;
  // Required as is: a fraction that does not fit is left out, the rest is printed.
  if (size + 1 + type.digits > kMaxFormattedText) return size;
  return static_cast<std::size_t>(printFraction<type.digits>(fraction, out + size) - out);
}

// As C prints with "%04d": a minus sign is one of the four characters.
char* printYear(std::int64_t year, char* out) {
  if (year < 0) *out++ = '-';
  const auto magnitude = static_cast<std::uint64_t>(year < 0 ? -year : year);
  for (std::uint64_t limit = year < 0 ? 100 : 1000; limit > 1 && magnitude < limit; limit /= 10) *out++ = '0';
  return std::to_chars(out, out + std::numeric_limits<std::int64_t>::digits10, magnitude).ptr;
}

// Two digits with a character before them.
char* printPart(char before, int value, char* out) {
  *out = before;
  return printTwoDigits(static_cast<unsigned int>(value), out + 1);
}

char* printClock(const CivilTime& time, char* out) {
  out = printTwoDigits(static_cast<unsigned int>(time.hour), out);
  return printPart(':', time.second, printPart(':', time.minute, out));
}

char* printDateAndClock(std::int64_t seconds, char* out) {
  const CivilTime time = civilTime(secondsOrEpoch(seconds));
  out = printPart('-', time.date.day, printPart('-', time.date.month, printYear(time.date.year, out)));
  *out = ' ';
  return printClock(time, out + 1);
}

char* printZone(ZoneSuffix zone, char* out) {
  constexpr std::string_view kUtc = "+00";
  return zone == ZoneSuffix::Yes ? std::copy(kUtc.begin(), kUtc.end(), out) : out;
}

template <const FractionType& type>
char* printDefaultWithFraction(std::int64_t count, ZoneSuffix zone, char* out) {
  const auto [seconds, fraction] = splitCount<type.unit>(count);
  return printZone(zone, printFraction<type.digits>(fraction, printDateAndClock(seconds, out)));
}

}  // namespace

Parsed<std::int64_t> parseDate(std::string_view text, const PercentFormat& format) {
  return parseSeconds(text, format, kDateMessages);
}

Parsed<std::int64_t> parseTime(std::string_view text, const PercentFormat& format) {
  return parseSeconds(text, format, kTimeMessages);
}

Parsed<std::int64_t> parseTimestamp(std::string_view text, const PercentFormat& format) {
  return parseWithFraction<kTimestamp>(text, format);
}

Parsed<std::int64_t> parseBigDateTime(std::string_view text, const PercentFormat& format) {
  return parseWithFraction<kBigDateTime>(text, format);
}

std::size_t printDate(std::int64_t seconds, const PercentFormat& format, char* out) {
  return format.print(seconds, out);
}

std::size_t printTimestamp(std::int64_t millis, const PercentFormat& format, ZeroFraction zero, char* out) {
  return printWithFraction<kTimestamp>(millis, format, zero, out);
}

std::size_t printBigDateTime(std::int64_t micros, const PercentFormat& format, ZeroFraction zero, char* out) {
  return printWithFraction<kBigDateTime>(micros, format, zero, out);
}

char* printDefaultDate(std::int64_t seconds, ZoneSuffix zone, char* out) {
  return printZone(zone, printDateAndClock(seconds, out));
}

char* printDefaultTime(std::int64_t seconds, ZoneSuffix zone, char* out) {
  return printZone(zone, printClock(civilTime(secondsOrEpoch(seconds)), out));
}

char* printDefaultTimestamp(std::int64_t millis, ZoneSuffix zone, char* out) {
  return printDefaultWithFraction<kTimestamp>(millis, zone, out);
}

char* printDefaultBigDateTime(std::int64_t micros, ZoneSuffix zone, char* out) {
  return printDefaultWithFraction<kBigDateTime>(micros, zone, out);
}

namespace {

MallocPtr<char> copyText(std::string_view text) {
  MallocPtr<char> copy(static_cast<char*>(std::malloc(text.size() + 1)));
  if (!copy) throw std::bad_alloc();
  *std::copy(text.begin(), text.end(), copy.get()) = '\0';
  return copy;
}

bool splitToBuffers(std::string_view text, std::size_t digits, char*& datetime, char*& fraction) {
  const SplitText split = splitText(text, digits);
  MallocPtr<char> datetimeCopy = copyText(split.datetime);
  fraction = copyText(split.fractionText(digits)).release();
  datetime = datetimeCopy.release();
  return true;
}

}  // namespace

}  // namespace kyv_internal

bool DataTypes::splitTimestamp(const char* text, char*& datetime, char*& fraction) {
  return kyv_internal::splitToBuffers(text, kyv_internal::kTimestamp.digits, datetime, fraction);
}

bool DataTypes::splitBigdatetime(const char* text, char*& datetime, char*& fraction) {
  return kyv_internal::splitToBuffers(text, kyv_internal::kBigDateTime.digits, datetime, fraction);
}
