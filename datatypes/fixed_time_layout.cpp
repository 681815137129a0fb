#include "datatypes/fixed_time_layout.h"

#include <algorithm>
#include <cstring>

#include "datatypes/civil_time.h"
#include "datatypes/two_digits.h"

namespace kyv_internal {

namespace {

constexpr unsigned char kDefaultDigits[] = {1, 9, 7, 0, 0, 1, 0, 0};

int twoDigits(const unsigned char* digits) { return 10 * digits[0] + digits[1]; }

}  // namespace

FixedTimeLayout::FixedTimeLayout() {
  pattern_.fill('0');
  slack_.fill(kDigitSlack);
}

std::optional<FixedTimeLayout> FixedTimeLayout::of(std::span<const Step> steps) {
  FixedTimeLayout layout;
  for (const Step& step : steps)
    if (!layout.addStep(step)) return std::nullopt;
  return layout;
}

bool FixedTimeLayout::addStep(const Step& step) {
  if (step.print == kLiteralStep) return addLiteral(step.literal);
  if (step.read != step.print || step.pad || step.operand) return false;
  switch (step.print) {
    case 'Y':
      return addField(kCentury) && addField(kYear);
    case 'y':
      return addField(kYear);
    case 'm':
      return addField(kMonth);
    case 'd':
      return addField(kDay);
    case 'H':
      return addField(kHour);
    case 'M':
      return addField(kMinute);
    case 'S':
      return addField(kSecond);
    default:
      return false;
  }
}

bool FixedTimeLayout::addField(Field field) {
  if (offsets_[field] < kMaxLength || length_ + 2 > kMaxLength) return false;
  offsets_[field] = static_cast<std::uint8_t>(length_);
  length_ += 2;
  return true;
}

bool FixedTimeLayout::addLiteral(char literal) {
  if (length_ == kMaxLength) return false;
  pattern_[length_] = literal;
  slack_[length_] = kLiteralSlack;
  ++length_;
  return true;
}

bool FixedTimeLayout::match(std::string_view text, Digits& digits) const {
  std::array<char, kWord> padded;  // a text shorter than a word, and what the pattern has behind it
  const char* from = text.data();
  if (length_ < kWord) {
    std::copy_n(pattern_.begin(), kWord, padded.begin());
    from = std::copy(text.begin(), text.end(), padded.begin()) - length_;
  }
  const std::size_t last = std::max(length_, kWord) - kWord;
  Word wrong = 0;
  const auto matchWord = [&](std::size_t at) {
    const Word values = valuesAt(at, from, load(&slack_[at]), wrong);
    std::memcpy(&digits[at], &values, kWord);
  };
  // The words of a text, which overlap as its length wants it.
  matchWord(0);
  matchWord(std::min(kWord, last));
  if (last > 2 * kWord) matchWord(2 * kWord);
  matchWord(last);
  return (wrong & kTopBits) == 0;
}

// A year of two digits is one of 1969 to 2068.
int FixedTimeLayout::year(int century, int yearOfCentury) const {
  const bool alone = offsets_[kYear] != kNoYear && offsets_[kCentury] == kNoCentury;
  return 100 * (alone && yearOfCentury < 69 ? 20 : century) + yearOfCentury;
}

bool FixedTimeLayout::parse(std::string_view text, std::int64_t& seconds) const {
  if (text.size() != length_) return false;
  Digits digits;
  std::memcpy(&digits[kMaxLength], kDefaultDigits, sizeof kDefaultDigits);
  if (!match(text, digits)) return false;
  const auto field = [&](Field which) { return twoDigits(&digits[offsets_[which]]); };
  const int month = field(kMonth), day = field(kDay), hour = field(kHour), minute = field(kMinute),
            second = field(kSecond);
  // 30 February and second 61 are counted on, as everywhere.
  if (month < 1 || month > 12 || day < 1 || day > 31 || hour > 23 || minute > 59 || second > 61) return false;
  seconds = daysFromCivil(year(field(kCentury), field(kYear)), month, day) * kSecondsPerDay +
            std::int64_t{3600} * hour + std::int64_t{60} * minute + second;
  return true;
}

std::size_t FixedTimeLayout::print(std::int64_t seconds, char* out) const {
  const CivilTime time = civilTime(seconds);
  if (time.date.year < 1000 || time.date.year > 9999) return 0;
  const auto year = static_cast<unsigned int>(time.date.year);
  std::memcpy(out, pattern_.data(), kMaxLength);
  const auto put = [&](Field field, unsigned int value) { printTwoDigits(value, out + offsets_[field]); };
  put(kCentury, year / 100);
  put(kYear, year % 100);
  put(kMonth, static_cast<unsigned int>(time.date.month));
  put(kDay, static_cast<unsigned int>(time.date.day));
  put(kHour, static_cast<unsigned int>(time.hour));
  put(kMinute, static_cast<unsigned int>(time.minute));
  put(kSecond, static_cast<unsigned int>(time.second));
  return length_;
}

}  // namespace kyv_internal
