#include "datatypes/model_reader.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <ctime>

#include "datatypes/calendar_names.h"
#include "datatypes/civil_time.h"
#include "datatypes/parsed.h"
#include "datatypes/time_name_tables.h"

namespace kyv_internal {

using DataTypes::FoundTime;
using DataTypes::TextInput;
using enum ModelToken;

// --- Characters -----------------------------------------------------------------------------------------------------

namespace {

constexpr bool isLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

// As the C library's ispunct has it in the "C" locale.
constexpr bool isPunctuation(char c) { return c > ' ' && c < 0x7F && !isDigit(c) && !isLetter(c); }

constexpr char toLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool isAtEnd(const TextInput& input) { return input.position >= input.length; }

char current(const TextInput& input) { return input.text[input.position]; }

std::string_view rest(const TextInput& input) {
  return {input.text + input.position, static_cast<std::size_t>(input.length - input.position)};
}

void skipSpace(TextInput& input) {
  while (!isAtEnd(input) && isSpace(current(input))) ++input.position;
}

// False at the end of the input.
bool startPart(TextInput& input, bool exact) {
  if (!exact) skipSpace(input);
  return !isAtEnd(input);
}

// Required as is: out of exact mode the blank swallows one character, whatever it is, even one behind the end.
bool readBlank(TextInput& input, bool exact) {
  if (exact && (isAtEnd(input) || !isSpace(current(input)))) return false;
  ++input.position;
  return true;
}

}  // namespace

bool readLiteral(TextInput& input, char literal, bool exact) {
  if (isSpace(literal)) return readBlank(input, exact);
  if (!startPart(input, exact)) return false;
  const char c = current(input);
  const bool alike = !exact && isPunctuation(literal) && isPunctuation(c);
  if (c != literal && !alike) return false;
  ++input.position;
  return true;
}

bool readEnd(TextInput& input, bool exact) { return !startPart(input, exact); }

std::string_view readZoneName(TextInput& input, bool exact) {
  if (!startPart(input, exact)) return {};
  const std::string_view text = rest(input);
  const auto* const end = std::ranges::find_if_not(
      text, [](char c) { return isLetter(c) || isDigit(c) || c == '/' || c == '_' || isSign(c); });
  const std::string_view name(text.begin(), end);
  input.position += name.size();
  return name;
}

// --- Numbers --------------------------------------------------------------------------------------------------------

namespace {

struct Digits {
  std::int64_t value;
  int count;  // 0: there is no number here
};

// At most so many digits. None when the number does not fit in 64 bits.
Digits readDigits(TextInput& input, int most) {
  Digits digits{0, 0};
  for (; digits.count < most && !isAtEnd(input) && isDigit(current(input)); ++digits.count, ++input.position) {
    if (__builtin_mul_overflow(digits.value, 10, &digits.value) ||
        __builtin_add_overflow(digits.value, current(input) - '0', &digits.value))
      return {0, 0};
  }
  return digits;
}

int currentYear() { return static_cast<int>(civilTime(std::time(nullptr)).date.year); }

void storeHour(FoundTime& found, int hour) {
  found.hour = hour % 12 == 0 ? 12 : hour % 12;
  found.halfOfDay = hour >= 12 ? 2 : 1;
}

void storeSecondOfDay(FoundTime& found, int second) {
  storeHour(found, second / 3600);
  found.minute = second / 60 % 60;
  found.second = second % 60;
}

// Required as is: minutes count away from UTC when the hours are below it.
void storeZoneMinutes(FoundTime& found, int minutes) {
  found.zoneOffset += (found.zoneOffset < 0 ? -60 : 60) * minutes;
  found.hasZoneMinutes = true;
}

template <ModelToken token>
void storeShortYear(FoundTime& found, int digits) {
  found.year = yearOfDigits(token, digits, currentYear());
}

template <int FoundTime::*field>
void storeIn(FoundTime& found, int value) {
  found.*field = value;
}

struct NumberRule {
  ModelToken token;
  int digits;  // at most
  int least, most;
  void (*store)(FoundTime& found, int value);
};

constexpr NumberRule kNumberRules[] = {
    {kYYYY, 4, 0, 9999, storeIn<&FoundTime::year>},
    {kRRRR, 4, 0, 9999, storeIn<&FoundTime::year>},
    {kRR, 2, 0, 99, storeShortYear<kRR>},
    {kYYY, 3, 0, 999, storeShortYear<kYYY>},
    {kYY, 2, 0, 99, storeShortYear<kYY>},
    {kY, 1, 0, 9, storeShortYear<kY>},
    {kMM, 2, 1, 12, [](FoundTime& found, int month) { found.month = month - 1; }},
    {kDD, 2, 1, 31, storeIn<&FoundTime::day>},
    {kHH, 2, 1, 12, storeIn<&FoundTime::hour>},
    {kHH12, 2, 1, 12, storeIn<&FoundTime::hour>},
    {kHH24, 2, 0, 23, storeHour},
    {kMI, 2, 0, 59, storeIn<&FoundTime::minute>},
    {kSS, 2, 0, 59, storeIn<&FoundTime::second>},
    {kSSSSS, 5, 0, 86399, storeSecondOfDay},
    {kTZM, 2, 0, 99, storeZoneMinutes},
};

constexpr NumberRule kZoneHoursRule = {kTZH, 2, 0, 99, nullptr};
constexpr NumberRule kFractionRule = {kFF, 6, 0, 999'999, nullptr};

constexpr int kCountDigits = 20;

// By token; where there is no rule, the index of none.
constexpr std::size_t kNoRule = std::size(kNumberRules);
constexpr auto kRuleOfToken = [] {
  std::array<std::uint8_t, 256> rules{};
  rules.fill(static_cast<std::uint8_t>(kNoRule));
  for (std::size_t i = 0; i < kNoRule; ++i) {
    rules[static_cast<std::size_t>(kNumberRules[i].token)] = static_cast<std::uint8_t>(i);
  }
  return rules;
}();

// In exact mode a number has all its digits, unless in fill mode.
bool isLongEnough(const Digits& digits, const ReadingField& field, int most) {
  return digits.count == most || (digits.count > 0 && (!field.exact || field.fill));
}

bool readNumber(const ReadingField& field, const NumberRule& rule, TextInput& input, FoundTime& found) {
  const Digits digits = readDigits(input, rule.digits);
  if (!isLongEnough(digits, field, rule.digits) || digits.value < rule.least || digits.value > rule.most) return false;
  rule.store(found, static_cast<int>(digits.value));
  return true;
}

bool readFraction(const ReadingField& field, TextInput& input, FoundTime& found) {
  constexpr std::array<int, 7> kScales = {0, 100'000, 10'000, 1000, 100, 10, 1};
  const Digits digits = readDigits(input, kFractionRule.digits);
  if (!isLongEnough(digits, field, kFractionRule.digits)) return false;
  found.fraction = static_cast<int>(digits.value) * kScales[static_cast<std::size_t>(digits.count)];
  return true;
}

bool readZoneHours(const ReadingField& field, TextInput& input, FoundTime& found) {
  const bool negative = current(input) == '-';
  if (isSign(current(input))) ++input.position;
  const Digits digits = readDigits(input, kZoneHoursRule.digits);
  if (!isLongEnough(digits, field, kZoneHoursRule.digits)) return false;
  found.zoneOffset += (negative ? -3600 : 3600) * static_cast<int>(digits.value);
  found.hasZoneHours = true;
  return true;
}

bool readCount(const ReadingField& field, TextInput& input, long FoundTime::*count, bool FoundTime::*flag,
               FoundTime& found) {
  const Digits digits = readDigits(input, kCountDigits);
  if (!isLongEnough(digits, field, kCountDigits)) return false;
  found.*count = digits.value;
  found.*flag = true;
  return true;
}

bool readSeconds(const ReadingField& field, TextInput& input, FoundTime& found) {
  if (!readCount(field, input, &FoundTime::seconds, &FoundTime::hasSeconds, found)) return false;
  found.year = 1970;
  found.month = found.day = found.weekday = found.hour = found.minute = found.second = 0;
  return true;
}

// --- Names ----------------------------------------------------------------------------------------------------------

// The longest of the token's names that stands here: "VIII" begins with "V".
bool readName(const ReadingField& field, TextInput& input, int& index) {
  const std::span<const NameSlot> names = namesOf(field.token, field.letters);
  std::size_t longest = 0;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (names[i].text[0] != current(input)) continue;
    const std::string_view name = names[i].view();
    if (name.size() <= longest || !rest(input).starts_with(name)) continue;
    longest = name.size();
    index = static_cast<int>(i);
  }
  input.position += longest;
  return longest > 0;
}

bool startsWithLetters(std::string_view text, std::string_view name) {
  return text.size() >= name.size() &&
         std::equal(name.begin(), name.end(), text.begin(), [](char a, char b) { return toLower(a) == toLower(b); });
}

bool readMonthName(TextInput& input, int& month, std::size_t length) {
  for (std::size_t i = 0; i < kMonthNames.size(); ++i) {
    const std::string_view name = kMonthNames[i].substr(0, length);
    if (!startsWithLetters(rest(input), name)) continue;
    input.position += name.size();
    month = static_cast<int>(i);
    return true;
  }
  return false;
}

// Required as is: MM also takes names in any letters.
bool readMonth(const ReadingField& field, TextInput& input, FoundTime& found) {
  if (isDigit(current(input)))
    return readNumber(field, kNumberRules[kRuleOfToken[static_cast<std::size_t>(kMM)]], input, found);
  return readMonthName(input, found.month, std::string_view::npos) || readMonthName(input, found.month, kAbbreviation);
}

bool readHalfOfDay(TextInput& input, FoundTime& found) {
  constexpr std::array<std::string_view, 2> kHalves = {"AM", "PM"};
  for (std::size_t half = 0; half < kHalves.size(); ++half) {
    if (!startsWithLetters(rest(input), kHalves[half])) continue;
    found.halfOfDay = static_cast<int>(half + 1);
    input.position += kHalves[half].size();
    return true;
  }
  return false;
}

bool readStarted(const ReadingField& field, TextInput& input, FoundTime& found) {
  switch (field.token) {
    case kMM:
      return readMonth(field, input, found);
    case kMON:
    case kMONTH:
    case kRM:
      return readName(field, input, found.month);
    case kDAY:
    case kDY:
      return readName(field, input, found.weekday);
    case kAM:
    case kPM:
      return readHalfOfDay(input, found);
    case kFF:
      return readFraction(field, input, found);
    case kSE:
      return readSeconds(field, input, found);
    case kMS:
      return readCount(field, input, &FoundTime::millis, &FoundTime::hasMillis, found);
    case kMIC:
      return readCount(field, input, &FoundTime::micros, &FoundTime::hasMicros, found);
    case kTZH:
      return readZoneHours(field, input, found);
    default: {
      const std::size_t rule = kRuleOfToken[static_cast<std::size_t>(field.token)];
      return rule != kNoRule && readNumber(field, kNumberRules[rule], input, found);
    }
  }
}

}  // namespace

bool readField(const ReadingField& field, TextInput& input, FoundTime& found) {
  return startPart(input, field.exact) && readStarted(field, input, found);
}

int yearOfDigits(ModelToken token, int digits, int currentYear) {
  const int century = currentYear / 100 * 100;
  switch (token) {
    case kYYY:
      return currentYear / 1000 * 1000 + digits;
    case kYY:
      return century + digits;
    case kY:
      return currentYear / 10 * 10 + digits;
    default:
      break;
  }
  const bool lateNow = currentYear - century >= 50;
  if (digits >= 50) return (lateNow ? century : century - 100) + digits;
  // Required as is: the next century is added to the current year, so in 2060 "10" is the year 4160.
  return lateNow ? currentYear + century + 100 : century + digits;
}

}  // namespace kyv_internal
