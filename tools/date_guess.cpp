#include "date_guess.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <ctime>

#include "kyv/data_value.h"

namespace kyv_internal {
namespace {

// Where day and month can be told by nothing else, slashes mean month first, dots and dashes day first.
constexpr std::array kDates = {"%Y-%m-%d", "%Y/%m/%d", "%Y.%m.%d",  "%m/%d/%Y", "%d/%m/%Y", "%d.%m.%Y",
                               "%d-%m-%Y", "%m-%d-%Y", "%m/%d/%y",  "%d/%m/%y", "%d.%m.%y", "%d-%b-%Y",
                               "%d %b %Y", "%b %d %Y", "%b %d, %Y", "%d-%b-%y", "%d %B %Y", "%B %d, %Y"};
constexpr std::array kTimes = {"%H:%M:%S", "%H:%M", "%I:%M:%S %p", "%I:%M %p"};
constexpr std::array kBetween = {" ", "T"};

constexpr std::array<std::string_view, 12> kMonths = {"january",   "february", "march",    "april",
                                                      "may",       "june",     "july",     "august",
                                                      "september", "october",  "november", "december"};
constexpr std::size_t kAbbreviated = 3;  // letters of a month's short name

// The text's last "." begins the fraction, so a date with dots of its own cannot be part of a timestamp.
std::vector<std::string> timestampFormats() {
  std::vector<std::string> formats;
  for (const std::string date : kDates) {
    if (date.find('.') != std::string::npos) continue;
    for (const char* between : kBetween) {
      for (const char* time : kTimes) formats.push_back(date + between + time);
    }
  }
  formats.emplace_back("%Y-%m-%dT%H:%M:%SZ");
  formats.emplace_back("%Y-%m-%dT%H:%MZ");
  return formats;
}

struct NumberRule {
  char conversion;
  std::size_t leastDigits;
  std::size_t mostDigits;
  int least;
  int most;
  int std::tm::*field;
};

constexpr std::array kNumbers = {
    NumberRule{'Y', 4, 4, 1, 9999, &std::tm::tm_year}, NumberRule{'y', 2, 2, 0, 99, &std::tm::tm_year},
    NumberRule{'m', 1, 2, 1, 12, &std::tm::tm_mon},    NumberRule{'d', 1, 2, 1, 31, &std::tm::tm_mday},
    NumberRule{'H', 1, 2, 0, 23, &std::tm::tm_hour},   NumberRule{'I', 1, 2, 1, 12, &std::tm::tm_hour},
    NumberRule{'M', 2, 2, 0, 59, &std::tm::tm_min},    NumberRule{'S', 2, 2, 0, 59, &std::tm::tm_sec},
};

bool isDigit(char byte) { return byte >= '0' && byte <= '9'; }

char lower(char byte) { return static_cast<char>(std::tolower(static_cast<unsigned char>(byte))); }

bool startsWithWord(std::string_view text, std::string_view word) {
  return text.size() >= word.size() &&
         std::equal(word.begin(), word.end(), text.begin(), [](char left, char right) { return left == lower(right); });
}

// Each of these takes what it reads off the front of the text, and is false when something else stands there. Here
// months count from 1 and years are whole.

bool takeNumber(std::string_view& text, const NumberRule& rule, std::tm& time) {
  std::size_t digits = 0;
  int value = 0;
  while (digits < rule.mostDigits && digits < text.size() && isDigit(text[digits])) {
    value = value * 10 + (text[digits++] - '0');
  }
  text.remove_prefix(digits);
  time.*rule.field = value;
  return digits >= rule.leastDigits && value >= rule.least && value <= rule.most;
}

bool takeMonth(std::string_view& text, std::size_t mostLetters, std::tm& time) {
  for (std::size_t month = 0; month < kMonths.size(); ++month) {
    const std::string_view name = kMonths[month].substr(0, mostLetters);
    if (!startsWithWord(text, name)) continue;
    text.remove_prefix(name.size());
    time.tm_mon = static_cast<int>(month) + 1;
    return true;
  }
  return false;
}

bool takeHalfOfDay(std::string_view& text) {
  if (!startsWithWord(text, "am") && !startsWithWord(text, "pm")) return false;
  text.remove_prefix(2);
  return true;
}

bool takeConversion(std::string_view& text, char conversion, std::tm& time) {
  if (conversion == 'b') return takeMonth(text, kAbbreviated, time);
  if (conversion == 'B') return takeMonth(text, std::string_view::npos, time);
  if (conversion == 'p') return takeHalfOfDay(text);
  const auto* const rule = std::find_if(kNumbers.begin(), kNumbers.end(),
                                        [&](const NumberRule& number) { return number.conversion == conversion; });
  if (rule == kNumbers.end() || !takeNumber(text, *rule, time)) return false;
  if (conversion == 'y') time.tm_year += time.tm_year < 69 ? 2000 : 1900;  // as the C library has it
  return true;
}

bool isDayOfMonth(const std::tm& time) {
  constexpr std::array kDays = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const int year = time.tm_year;
  const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  return time.tm_mday <= kDays.at(static_cast<std::size_t>(time.tm_mon - 1)) + (leap && time.tm_mon == 2 ? 1 : 0);
}

// A format that the user named may hold any conversion of the library.
bool fitsNamed(std::string_view text, const std::string& format) {
  std::tm unused = {};
  return DataTypes::strptime(std::string(text).c_str(), format.c_str(), &unused) != nullptr;
}

}  // namespace

FormatList::FormatList(Kind kind, const std::optional<std::string>& named) : named_(named.has_value()) {
  if (named) {
    formats_ = {*named};
  } else if (kind == Kind::kDate) {
    formats_.assign(kDates.begin(), kDates.end());
  } else {
    formats_ = timestampFormats();
  }
}

void FormatList::keepFitting(std::string_view text, FormatSet& candidates) const {
  // The standard library's own way through the few that are left.
  for (std::size_t i = candidates._Find_first(); i < candidates.size(); i = candidates._Find_next(i)) {
    candidates[i] = named_ ? fitsNamed(text, formats_[i]) : fitsFormat(text, formats_[i]);
  }
}

std::optional<std::size_t> FormatList::twinOf(std::size_t index) const {
  std::string twin = formats_[index];
  for (std::size_t i = 1; i < twin.size(); ++i) {
    if (twin[i - 1] != '%' || (twin[i] != 'd' && twin[i] != 'm')) continue;
    twin[i] = twin[i] == 'd' ? 'm' : 'd';
  }
  const auto found = std::find(formats_.begin(), formats_.end(), twin);
  if (found == formats_.end() || twin == formats_[index]) return std::nullopt;
  return static_cast<std::size_t>(found - formats_.begin());
}

bool fitsFormat(std::string_view text, std::string_view format) {
  std::tm time = {};
  time.tm_mon = time.tm_mday = 1;
  for (std::size_t i = 0; i < format.size(); ++i) {
    if (format[i] == '%') {
      if (!takeConversion(text, format[++i], time)) return false;
    } else {
      if (text.empty() || text.front() != format[i]) return false;
      text.remove_prefix(1);
    }
  }
  return text.empty() && isDayOfMonth(time);
}

TimestampText splitFraction(std::string_view text) {
  const std::size_t point = text.rfind('.');
  if (point == std::string_view::npos) return {text, 0};
  std::string_view fraction = text.substr(point + 1);
  if (fraction.ends_with('Z')) fraction.remove_suffix(1);
  if (fraction.empty() || !std::all_of(fraction.begin(), fraction.end(), isDigit)) return {text, 0};
  return {text.substr(0, point), fraction.size()};
}

}  // namespace kyv_internal
