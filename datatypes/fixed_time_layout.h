#pragma once

// The shortest way for formats such as "%Y-%m-%d %H:%M:%S": every field has its place in a text of fixed length. Texts
// of another shape and times that need more room go the long way, which gives the same results.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "datatypes/percent_steps.h"

namespace kyv_internal {

class FixedTimeLayout {
 public:
  // The layout of a format that consists of literals and of %Y or %y, %m, %d, %H, %M and %S, each at most once.
  static std::optional<FixedTimeLayout> of(std::span<const Step> steps);

  // Seconds of a text of exactly this shape; nothing for another one and for fields out of their ranges.
  std::optional<std::int64_t> parse(std::string_view text) const;

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

  FixedTimeLayout();
  bool addStep(const Step& step);
  bool addField(Field field);
  bool addLiteral(char literal);
  bool match(std::string_view text, Digits& digits) const;
  int year(int century, int yearOfCentury) const;

  std::array<char, kMaxLength> pattern_;         // a text with 0 for every digit
  std::array<unsigned char, kMaxLength> slack_;  // what a byte of pattern ^ text must stay below, see match()
  std::size_t length_ = 0;
  std::array<std::uint8_t, kFields> offsets_{kNoCentury, kNoYear, kNoDate, kNoDate, kNoClock, kNoClock, kNoClock};
};

}  // namespace kyv_internal
