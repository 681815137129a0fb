#include "datatypes/percent_printer.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <clocale>
#include <cstring>
#include <ctime>
#include <string_view>

#include "datatypes/calendar_names.h"
#include "datatypes/civil_time.h"
#include "datatypes/percent_format.h"
#include "datatypes/two_digits.h"

namespace kyv_internal {

namespace {

struct PrintedNumber {
  char letter;
  char pad;    // '0' or '_', as the flags are written
  int digits;  // at least
  int (*value)(const std::tm& time);
};

int floorModulo100(int value) { return (value % 100 + 100) % 100; }
int hour12(int hour) { return (hour + 11) % 12 + 1; }
int weekOfYear(int yearDay, int daysSinceWeekStart) { return (yearDay + 7 - daysSinceWeekStart) / 7; }

// All but %Y and %s, which need more than an int.
constexpr PrintedNumber kPrintedNumbers[] = {
    {'H', '0', 2, [](const std::tm& t) { return t.tm_hour; }},
    {'I', '0', 2, [](const std::tm& t) { return hour12(t.tm_hour); }},
    {'M', '0', 2, [](const std::tm& t) { return t.tm_min; }},
    {'S', '0', 2, [](const std::tm& t) { return t.tm_sec; }},
    {'U', '0', 2, [](const std::tm& t) { return weekOfYear(t.tm_yday, t.tm_wday); }},
    {'W', '0', 2, [](const std::tm& t) { return weekOfYear(t.tm_yday, (t.tm_wday + 6) % 7); }},
    {'d', '0', 2, [](const std::tm& t) { return t.tm_mday; }},
    {'e', '_', 2, [](const std::tm& t) { return t.tm_mday; }},
    {'j', '0', 3, [](const std::tm& t) { return t.tm_yday + 1; }},
    {'k', '_', 2, [](const std::tm& t) { return t.tm_hour; }},
    {'l', '_', 2, [](const std::tm& t) { return hour12(t.tm_hour); }},
    {'m', '0', 2, [](const std::tm& t) { return t.tm_mon + 1; }},
    {'u', '0', 1, [](const std::tm& t) { return (t.tm_wday + 6) % 7 + 1; }},
    {'w', '0', 1, [](const std::tm& t) { return t.tm_wday; }},
    {'y', '0', 2, [](const std::tm& t) { return floorModulo100(t.tm_year); }},
};

constexpr std::array<unsigned char, 128> kPrintedNumberOf = [] {
  std::array<unsigned char, 128> byLetter{};
  unsigned char index = 0;
  for (const PrintedNumber& number : kPrintedNumbers) byLetter[static_cast<unsigned char>(number.letter)] = index++;
  return byLetter;
}();

locale_t cLocale() {
  static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
  return locale;
}

// Appends to the text until it would pass its limit; then it is full and stays so.
class BoundedText {
 public:
  explicit BoundedText(char* out) : begin_(out), at_(out) {}

  void append(char c) {
    if (fits(1)) *at_++ = c;
  }
  void append(std::string_view text) {
    if (fits(text.size())) at_ = std::copy(text.begin(), text.end(), at_);
  }
  void append(std::size_t count, char c) {
    if (fits(count)) at_ = std::fill_n(at_, count, c);
  }
  void appendTwoDigits(int value) {
    if (fits(2)) at_ = printTwoDigits(static_cast<unsigned int>(value), at_);
  }
  void markFull() { full_ = true; }
  std::size_t size() const { return full_ ? 0 : static_cast<std::size_t>(at_ - begin_); }

 private:
  bool fits(std::size_t count) {
    full_ = full_ || count > kMaxFormattedText - static_cast<std::size_t>(at_ - begin_);
    return !full_;
  }

  char* begin_;
  char* at_;
  bool full_ = false;
};

class StepPrinter {
 public:
  StepPrinter(const PercentSteps& format, std::int64_t seconds, char* out)
      : format_(format), seconds_(seconds), time_(*brokenDownTime(seconds)), text_(out) {}

  std::size_t print() {
    for (const Step& step : format_.steps()) print(step);
    return text_.size();
  }

 private:
  void print(const Step& step);
  void printSmallNumber(const Step& step);
  void printNumber(const Step& step, std::int64_t value, std::size_t digits, char ownPad);
  void printByLibrary(const Step& step);

  const PercentSteps& format_;
  std::int64_t seconds_;
  std::tm time_;
  BoundedText text_;
};

void StepPrinter::print(const Step& step) {
  switch (step.print) {
    case kNothing:
      return;
    case kLiteralStep:
      return text_.append(step.literal);
    case kByLibrary:
      return printByLibrary(step);
    case 'A':
      return text_.append(kWeekdayNames[static_cast<std::size_t>(time_.tm_wday)]);
    case 'a':
      return text_.append(kWeekdayNames[static_cast<std::size_t>(time_.tm_wday)].substr(0, kAbbreviation));
    case 'B':
      return text_.append(kMonthNames[static_cast<std::size_t>(time_.tm_mon)]);
    case 'b':
    case 'h':
      return text_.append(kMonthNames[static_cast<std::size_t>(time_.tm_mon)].substr(0, kAbbreviation));
    case 'p':
      return text_.append(time_.tm_hour < 12 ? "AM" : "PM");
    case 'P':
      return text_.append(time_.tm_hour < 12 ? "am" : "pm");
    case 'Z':
      return text_.append("GMT");
    case 'z':
      return text_.append("+0000");
    case 's':
      return printNumber(step, seconds_, 1, ' ');
    case 'Y':
      return printNumber(step, std::int64_t{1900} + time_.tm_year, std::max(step.operand, 1U), '0');
    default:
      return printSmallNumber(step);
  }
}

void StepPrinter::printSmallNumber(const Step& step) {
  const PrintedNumber& number = kPrintedNumbers[kPrintedNumberOf[static_cast<unsigned char>(step.print)]];
  const int value = number.value(time_);
  if (number.digits == 2 && number.pad == '0' && !step.pad && step.operand <= 2) return text_.appendTwoDigits(value);
  printNumber(step, value, std::max<std::size_t>(step.operand, static_cast<std::size_t>(number.digits)), number.pad);
}

// Fills up to `digits` with zeros behind the sign or, for '_', with blanks before it, unless the flag '-' forbids it;
// then up to the width.
void StepPrinter::printNumber(const Step& step, std::int64_t value, std::size_t digits, char ownPad) {
  std::array<char, 20> buffer;
  const char* end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value).ptr;
  std::string_view number(buffer.data(), static_cast<std::size_t>(end - buffer.data()));
  const char pad = step.pad ? step.pad : ownPad;
  const std::size_t fill = pad == '-' || digits < number.size() ? 0 : digits - number.size();
  const std::size_t size = fill + number.size();
  if (step.operand > size) text_.append(step.operand - size, pad == '0' ? '0' : ' ');
  if (pad != '_' && value < 0) {
    text_.append('-');
    number.remove_prefix(1);
  }
  text_.append(fill, pad == '_' ? ' ' : '0');
  text_.append(number);
}

void StepPrinter::printByLibrary(const Step& step) {
  std::array<char, kMaxFormattedText + 1> buffer;
  const std::size_t size = strftime_l(buffer.data(), buffer.size(), format_.libraryText(step), &time_, cLocale());
  if (size == 0) return text_.markFull();
  text_.append(std::string_view(buffer.data(), size));
}

}  // namespace

std::size_t printPercentSteps(const PercentSteps& format, std::int64_t seconds, char* out) {
  return StepPrinter(format, seconds, out).print();
}

}  // namespace kyv_internal
