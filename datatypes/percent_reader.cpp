#include "datatypes/percent_reader.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "datatypes/calendar_names.h"
#include "datatypes/civil_time.h"
#include "datatypes/parsed.h"

namespace kyv_internal {

namespace {

// What the format named, which decides how the fields are made to agree at the end.
enum Named : unsigned int {
  kDate = 1,  // any part of a date but the weekday, the week and the day of the year
  kMonth = 2,
  kMonthDay = 4,
  kYearDay = 8,
  kWeekday = 16,
  kSundayWeek = 32,
  kMondayWeek = 64,
  kYearOfCentury = 128,
  kHour12 = 256
};

// The fields of a tm with its ranges, and what is read beside them.
struct Fields {
  int second = 0;
  int minute = 0;
  int hour = 0;
  int day = 1;
  int month = 0;
  int year = 70;
  int weekday = 4;
  int yearDay = 0;
  int century = -1;
  int week = 0;
  int ignored = 0;
  bool afternoon = false;
  unsigned int named = 0;
};

int asRead(int value) { return value; }
int lessOne(int value) { return value - 1; }
int less1900(int value) { return value - 1900; }
int modulo7(int value) { return value % 7; }
int modulo12(int value) { return value % 12; }
int from1969To2068(int value) { return value < 69 ? value + 100 : value; }

struct NumberRule {
  char letter;
  int minimum;
  int maximum;
  int digits;  // at most
  int Fields::*target;
  int (*stored)(int value);
  unsigned int named = 0;
  unsigned int forgotten = 0;  // what a former conversion named and this one replaces
};

constexpr NumberRule kNumberRules[] = {
    {'C', 0, 99, 2, &Fields::century, asRead, kDate},
    {'H', 0, 23, 2, &Fields::hour, asRead, 0, kHour12},
    {'I', 1, 12, 2, &Fields::hour, modulo12, kHour12},
    {'M', 0, 59, 2, &Fields::minute, asRead},
    {'S', 0, 61, 2, &Fields::second, asRead},
    {'U', 0, 53, 2, &Fields::week, asRead, kSundayWeek},
    {'V', 0, 53, 2, &Fields::ignored, asRead},
    {'W', 0, 53, 2, &Fields::week, asRead, kMondayWeek},
    {'Y', 0, 9999, 4, &Fields::year, less1900, kDate, kYearOfCentury},
    {'d', 1, 31, 2, &Fields::day, asRead, kDate | kMonthDay},
    {'e', 1, 31, 2, &Fields::day, asRead, kDate | kMonthDay},
    {'g', 0, 99, 2, &Fields::ignored, asRead},
    {'j', 1, 366, 3, &Fields::yearDay, lessOne, kYearDay},
    {'k', 0, 23, 2, &Fields::hour, asRead, 0, kHour12},
    {'l', 1, 12, 2, &Fields::hour, modulo12, kHour12},
    {'m', 1, 12, 2, &Fields::month, lessOne, kDate | kMonth},
    {'u', 1, 7, 1, &Fields::weekday, modulo7, kWeekday},
    {'w', 0, 6, 1, &Fields::weekday, asRead, kWeekday},
    {'y', 0, 99, 2, &Fields::year, from1969To2068, kDate | kYearOfCentury},
};

// Index into kNumberRules by letter.
constexpr std::array<unsigned char, 128> kNumberRuleOf = [] {
  std::array<unsigned char, 128> byLetter{};
  unsigned char index = 0;
  for (const NumberRule& rule : kNumberRules) byLetter[static_cast<unsigned char>(rule.letter)] = index++;
  return byLetter;
}();

// Tells letters apart from each other and from everything else, but not by their case.
constexpr char folded(char c) { return static_cast<char>(c | 0x20); }

constexpr std::uint32_t foldedAbbreviation(const char* letters) {
  std::uint32_t key = 0;
  for (std::size_t i = 0; i < kAbbreviation; ++i) key = key << 8 | static_cast<unsigned char>(folded(letters[i]));
  return key;
}

template <std::size_t count>
constexpr std::array<std::uint32_t, count> foldedAbbreviations(const std::array<std::string_view, count>& names) {
  std::array<std::uint32_t, count> keys{};
  for (std::size_t i = 0; i < count; ++i) keys[i] = foldedAbbreviation(names[i].data());
  return keys;
}

constexpr auto kMonthKeys = foldedAbbreviations(kMonthNames);
constexpr auto kWeekdayKeys = foldedAbbreviations(kWeekdayNames);

bool startsWithName(std::string_view text, std::string_view name) {
  return text.size() >= name.size() &&
         std::equal(name.begin(), name.end(), text.begin(), [](char a, char b) { return folded(a) == folded(b); });
}

// Walks the text step by step. Every operation says whether the text went on matching.
class TextReader {
 public:
  explicit TextReader(std::string_view text) : at_(text.data()), end_(text.data() + text.size()) {}

  bool read(const Step& step);
  // White space may be left over.
  bool finish() { return skipSpace() && at_ == end_; }
  Fields& fields() { return fields_; }

 private:
  // 0 at the end, as if the text were terminated.
  char peek() const { return at_ != end_ ? *at_ : '\0'; }
  std::string_view rest() const { return {at_, static_cast<std::size_t>(end_ - at_)}; }

  bool skipSpace();
  bool readLiteral(char literal);
  bool readNumber(const NumberRule& rule);
  template <std::size_t count>
  bool readName(const std::array<std::uint32_t, count>& keys, const std::array<std::string_view, count>& names,
                int Fields::*target, unsigned int named);
  bool readHalfOfDay();
  bool readYearOfWeek();
  bool readSeconds();
  bool readZoneName();
  bool readZoneOffset();

  const char* at_;
  const char* end_;
  Fields fields_;
};

bool TextReader::read(const Step& step) {
  switch (step.read) {
    case kNothing:
      return true;
    case kNever:
      return false;
    case kLiteralStep:
      return readLiteral(step.literal);
    case kBlanks:
      return skipSpace();
    case 'A':
    case 'a':
      return readName(kWeekdayKeys, kWeekdayNames, &Fields::weekday, kWeekday);
    case 'B':
    case 'b':
    case 'h':
      return readName(kMonthKeys, kMonthNames, &Fields::month, kMonth | kDate);
    case 'G':
      return readYearOfWeek();
    case 'p':
      return readHalfOfDay();
    case 's':
      return readSeconds();
    case 'Z':
      return readZoneName();
    case 'z':
      return readZoneOffset();
    default:
      return readNumber(kNumberRules[kNumberRuleOf[static_cast<unsigned char>(step.read)]]);
  }
}

bool TextReader::skipSpace() {
  while (at_ != end_ && isSpace(*at_)) ++at_;
  return true;
}

bool TextReader::readLiteral(char literal) { return at_ != end_ && *at_++ == literal; }

// A number ends early where one more digit must make it too large: "%H%M" reads "945" as 9:45.
bool TextReader::readNumber(const NumberRule& rule) {
  skipSpace();
  if (!isDigit(peek())) return false;
  int value = 0;
  int digits = 0;
  do {
    value = 10 * value + (*at_++ - '0');
  } while (++digits < rule.digits && 10 * value <= rule.maximum && isDigit(peek()));
  if (value < rule.minimum || value > rule.maximum) return false;
  fields_.*rule.target = rule.stored(value);
  fields_.named = (fields_.named & ~rule.forgotten) | rule.named;
  return true;
}

// The full name or its abbreviation, whichever is longer, in any case of letters.
template <std::size_t count>
bool TextReader::readName(const std::array<std::uint32_t, count>& keys,
                          const std::array<std::string_view, count>& names, int Fields::*target, unsigned int named) {
  if (rest().size() < kAbbreviation) return false;
  const auto found = std::find(keys.begin(), keys.end(), foldedAbbreviation(at_)) - keys.begin();
  const auto index = static_cast<std::size_t>(found);
  if (index == count) return false;
  at_ += startsWithName(rest(), names[index]) ? names[index].size() : kAbbreviation;
  fields_.*target = static_cast<int>(index);
  fields_.named |= named;
  return true;
}

bool TextReader::readHalfOfDay() {
  const bool afternoon = startsWithName(rest(), "PM");
  if (!afternoon && !startsWithName(rest(), "AM")) return false;
  fields_.afternoon = afternoon;
  at_ += 2;
  return true;
}

// The year that a week belongs to says nothing without the rest of the week's date.
bool TextReader::readYearOfWeek() {
  if (!isDigit(peek())) return false;
  while (isDigit(peek())) ++at_;
  return true;
}

bool TextReader::readSeconds() {
  if (!isDigit(peek())) return false;
  std::int64_t seconds = 0;
  for (; isDigit(peek()); ++at_)
    if (__builtin_mul_overflow(seconds, 10, &seconds) || __builtin_add_overflow(seconds, *at_ - '0', &seconds))
      return false;
  const std::optional<std::tm> time = brokenDownTime(seconds);
  if (!time) return false;
  fields_.second = time->tm_sec;
  fields_.minute = time->tm_min;
  fields_.hour = time->tm_hour;
  fields_.day = time->tm_mday;
  fields_.month = time->tm_mon;
  fields_.year = time->tm_year;
  fields_.weekday = time->tm_wday;
  fields_.yearDay = time->tm_yday;
  return true;
}

bool TextReader::readZoneName() {
  skipSpace();
  while (at_ != end_ && !isSpace(*at_)) ++at_;
  return true;
}

// "Z", or a sign and "hh", "hhmm" or "hh:mm", minutes below 60. All times are UTC, so it changes nothing.
bool TextReader::readZoneOffset() {
  skipSpace();
  const char sign = peek();
  if (sign != 'Z' && sign != '+' && sign != '-') return false;
  ++at_;
  if (sign == 'Z') return true;
  int value = 0;
  int digits = 0;
  while (digits < 4 && isDigit(peek())) {
    value = 10 * value + (*at_++ - '0');
    ++digits;
    if (digits == 2 && peek() == ':' && end_ - at_ > 1 && isDigit(at_[1])) ++at_;
  }
  return digits == 2 || (digits == 4 && value % 100 < 60);
}

// Makes the fields agree that were read: the hour of the half of the day, the century and its year, and the days by
// which a date can be named.
class FieldCompletion {
 public:
  explicit FieldCompletion(Fields& fields) : f_(fields) {}

  void complete() {
    if (has(kHour12) && f_.afternoon) f_.hour += 12;
    if (f_.century != -1) f_.year = (f_.century - 19) * 100 + (has(kYearOfCentury) ? f_.year % 100 : 0);
    completeDate();
    completeWeek();
  }

 private:
  bool has(unsigned int all) const { return (f_.named & all) == all; }
  std::int64_t yearStart() const { return daysFromCivil(std::int64_t{1900} + f_.year, 1, 1); }
  std::int64_t days() const { return daysFromCivil(std::int64_t{1900} + f_.year, f_.month + 1, f_.day); }

  void completeDate() {
    if (!has(kDate)) return;
    if (!has(kWeekday)) {
      if (has(kYearDay)) takeDateFromYearDay();
      f_.weekday = weekday(days());
    }
    if (!has(kYearDay)) f_.yearDay = static_cast<int>(days() - yearStart());
  }

  void completeWeek() {
    if (!(f_.named & (kSundayWeek | kMondayWeek)) || !has(kWeekday)) return;
    if (!has(kYearDay)) f_.yearDay = yearDayOfWeek();
    takeDateFromYearDay();
  }

  // In week 0 and in the last one the day may lie outside the year.
  int yearDayOfWeek() const {
    const int weekStart = has(kSundayWeek) ? 0 : 1;
    const int firstWeek = (7 - (weekday(yearStart()) - weekStart)) % 7;
    return firstWeek + 7 * (f_.week - 1) + (f_.weekday - weekStart + 7) % 7;
  }

  // A day outside the year counts on: day 366 of a common year is the next 1 January.
  void takeDateFromYearDay() {
    const CivilDate date = civilDate(yearStart() + f_.yearDay);
    const auto years = static_cast<int>(date.year - 1900 - f_.year);
    if (!has(kMonth)) f_.month = 12 * years + date.month - 1;
    if (!has(kMonthDay)) f_.day = date.day;
  }

  Fields& f_;
};

std::tm asTm(const Fields& fields) {
  std::tm time{};
  time.tm_sec = fields.second;
  time.tm_min = fields.minute;
  time.tm_hour = fields.hour;
  time.tm_mday = fields.day;
  time.tm_mon = fields.month;
  time.tm_year = fields.year;
  time.tm_wday = fields.weekday;
  time.tm_yday = fields.yearDay;
  time.tm_zone = "GMT";
  return time;
}

}  // namespace

std::optional<std::tm> readPercentSteps(std::span<const Step> steps, std::string_view text) {
  TextReader reader(text);
  for (const Step& step : steps)
    if (!reader.read(step)) return std::nullopt;
  if (!reader.finish()) return std::nullopt;
  FieldCompletion(reader.fields()).complete();
  return asTm(reader.fields());
}

}  // namespace kyv_internal
