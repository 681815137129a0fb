#pragma once

// The shortest way for formats such as "%Y-%m-%d %H:%M:%S": every field has its place in a text of fixed length. Texts
// of another shape and times that need more room go the long way, which gives the same results.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <string_view>

#include "datatypes/civil_time.h"
#include "datatypes/percent_steps.h"

namespace kyv_internal {

class FixedTimeLayout {
 public:
  // The layout of a format that consists of literals and of %Y or %y, %m, %d, %H, %M and %S, each at most once.
  static std::optional<FixedTimeLayout> of(std::span<const Step> steps);

  // Seconds of a text of exactly this shape; false for another one and for fields out of their ranges.
  [[nodiscard]] bool parse(std::string_view text, std::int64_t& seconds) const;

  // Whether this is the layout of nearly all texts, "YYYY?MM?DD?HH?MM?SS" with any characters between. Then
  // parseUsual() reads a text of its length in less time.
  bool isUsual() const { return length_ == kUsualLength && offsets_ == kUsualOffsets; }
  static constexpr std::size_t kUsualLength = 19;
  [[nodiscard]] bool parseUsual(const char* text, std::int64_t& seconds) const;

  // Where the digits of the seconds stand; behind the text when the format does not name them.
  std::size_t secondsAt() const { return offsets_[kSecond]; }
  std::size_t length() const { return length_; }

  // Returns the number of characters, 0 when the year has not four digits. `out` has room for kPrintRoom characters;
  // those behind the text may be overwritten.
  std::size_t print(std::int64_t seconds, char* out) const;

  static constexpr std::size_t kMaxLength = 32;
  static constexpr std::size_t kPrintRoom = kMaxLength + 8;

 private:
  // Pairs of digits; %Y is two of them.
  enum Field : std::size_t { kCentury, kYear, kMonth, kDay, kHour, kMinute, kSecond, kFields };

  // The values of a text's digits, and behind them those of the fields that the format does not name: 19, 70, 01, 00.
  using Digits = std::array<unsigned char, kPrintRoom>;
  static constexpr std::uint8_t kNoCentury = kMaxLength;
  static constexpr std::uint8_t kNoYear = kNoCentury + 2;
  static constexpr std::uint8_t kNoDate = kNoYear + 2;
  static constexpr std::uint8_t kNoClock = kNoDate + 2;

  using Offsets = std::array<std::uint8_t, kFields>;

  // Eight characters are looked at together. In `pattern ^ text` a literal that matches is 0 and a digit is its value;
  // adding the slack sets the top bit of every other byte.
  static constexpr unsigned char kDigitSlack = 0x80 - 10;
  static constexpr unsigned char kLiteralSlack = 0x80 - 1;
  using Word = std::uint64_t;
  static constexpr std::size_t kWord = sizeof(Word);
  static constexpr Word kTopBits = 0x8080808080808080;

  // The usual layout lies in three words: "YYYY?MM?", "DD?HH?MM" and "HH?MM?SS".
  static constexpr Offsets kUsualOffsets{0, 2, 5, 8, 11, 14, 17};
  static constexpr std::size_t kYearAndMonth = 0;
  static constexpr std::size_t kDayAndHour = 8;
  static constexpr std::size_t kClock = 11;

  // The slack of a word of digits ('0') and literals, whose first character is the lowest byte.
  static constexpr Word slackOf(const char (&shape)[kWord + 1]) {
    Word slack = 0;
    for (std::size_t i = kWord; i-- > 0;) slack = slack << 8 | (shape[i] == '0' ? kDigitSlack : kLiteralSlack);
    return slack;
  }

  FixedTimeLayout();
  bool addStep(const Step& step);
  bool addField(Field field);
  bool addLiteral(char literal);
  bool match(std::string_view text, Digits& digits) const;
  int year(int century, int yearOfCentury) const;

  static Word load(const void* from) {
    Word word;
    std::memcpy(&word, from, kWord);
    return word;
  }

  // The values of eight characters; their faults go into the top bits of `wrong`.
  Word valuesAt(std::size_t at, const char* text, Word slack, Word& wrong) const {
    const Word values = load(&pattern_[at]) ^ load(text + at);
    wrong |= values | (values + slack);
    return values;
  }

  std::array<char, kMaxLength> pattern_;         // a text with 0 for every digit
  std::array<unsigned char, kMaxLength> slack_;  // what a byte of pattern ^ text must stay below, see match()
  std::size_t length_ = 0;
  Offsets offsets_{kNoCentury, kNoYear, kNoDate, kNoDate, kNoClock, kNoClock, kNoClock};
};

// The same as parse() without going through memory: each word's fields are numbers of two digits at known bytes.
inline bool FixedTimeLayout::parseUsual(const char* text, std::int64_t& seconds) const {
  Word wrong = 0;
  const auto pairsAt = [&](std::size_t at, Word slack) {  // 10 times each character and the next one
    const Word values = valuesAt(at, text, slack, wrong);
    return values * 10 + (values >> 8);
  };
  constexpr Word kThreePairs = slackOf("00?00?00");
  const Word yearAndMonth = pairsAt(kYearAndMonth, slackOf("0000?00?"));
  const Word dayAndHour = pairsAt(kDayAndHour, kThreePairs);
  const Word clock = pairsAt(kClock, kThreePairs) & 0x00FF'0000'FF00'00FF;
  const auto number = [](Word pairs, unsigned int byte) { return static_cast<unsigned int>(pairs >> 8 * byte & 0xFF); };
  const unsigned int month = number(yearAndMonth, 5);
  const unsigned int day = number(dayAndHour, 0);
  constexpr Word kAboveClock = Word{128 - 62} << 48 | Word{128 - 60} << 24 | Word{128 - 24};  // second, minute, hour
  wrong |= clock + kAboveClock;
  if ((wrong & kTopBits) != 0 || month - 1 > 11 || day - 1 > 30) return false;
  const std::int64_t year = 100 * number(yearAndMonth, 0) + number(yearAndMonth, 2);
  seconds = daysFromCivil(year, static_cast<int>(month), day) * kSecondsPerDay + 3600 * number(clock, 0) +
            60 * number(clock, 3) + number(clock, 6);
  return true;
}

}  // namespace kyv_internal
