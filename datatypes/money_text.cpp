#include "datatypes/money_text.h"

#include <algorithm>
#include <cstddef>
#include <limits>

#include "datatypes/digit_block.h"
#include "datatypes/usual_number.h"

namespace kyv_internal {

namespace {

using Result = Parsed<std::int64_t>;

constexpr const char* kBadBegin = "money constant does not begin with a legal character";
constexpr const char* kBadEnd = "money constant does not end with a legal character";
constexpr const char* kBadFraction = "money constant fractional part does not begin with a digit";
constexpr const char* kOutOfRange = "money constant out of range";

constexpr std::uint64_t kLargest = std::numeric_limits<std::int64_t>::max();

Result withSign(bool negative, std::uint64_t magnitude) {
  if (magnitude > kLargest + (negative ? 1 : 0)) return Result::failure(kOutOfRange);
  return {static_cast<std::int64_t>(negateIf(negative, magnitude))};
}

// What the text says, digit for digit: no limit is applied yet.
struct MoneyText {
  std::uint64_t whole = 0;
  std::uint64_t fraction = 0;
  bool overflow = false;  // of the whole part
};

void appendDigit(MoneyText& money, char digit) {
  money.overflow |= __builtin_mul_overflow(money.whole, 10, &money.whole);
  money.overflow |= __builtin_add_overflow(money.whole, static_cast<unsigned>(digit - '0'), &money.whole);
}

// The first `places` characters behind the point, as if filled up with "0" characters. Digits end at the last of them
// or at another point.
const char* readFraction(std::string_view text, int places, MoneyText& money) {
  const std::string_view kept = text.substr(0, static_cast<std::size_t>(places));
  if (kept.empty() || !isDigit(kept.front())) return kBadFraction;
  const auto* const end = std::find_if_not(kept.begin(), kept.end(), isDigit);
  for (const auto* at = kept.begin(); at != end; ++at)
    money.fraction = money.fraction * 10 + static_cast<unsigned>(*at - '0');
  if (end == kept.end()) {
    money.fraction *= kPowersOfTen[static_cast<std::size_t>(places) - kept.size()];
    return nullptr;
  }
  // Required as is: what ends at a second point is not filled up, "1.2." with four places is 1.0002.
  return *end == '.' ? nullptr : kBadEnd;
}

// Everything behind the sign or white space. Returns the message of a failure, or null.
const char* readMoney(std::string_view text, bool prefixed, int places, MoneyText& money) {
  if (text.empty() || !(isDigit(text.front()) || text.front() == '.')) return kBadBegin;
  const auto* const point = std::find_if_not(text.begin(), text.end(), isDigit);
  // Required as is: a point that follows a sign or white space is no legal end of the missing whole part.
  if (point == text.begin() && prefixed) return kBadEnd;
  for (const auto* at = text.begin(); at != point; ++at) appendDigit(money, *at);
  if (point == text.end()) return nullptr;
  if (*point != '.') return kBadEnd;
  const std::string_view fraction(point + 1, text.end());
  return fraction.empty() ? nullptr : readFraction(fraction, places, money);
}

Result parseAnyMoney(std::string_view text, MoneyScale scale) {
  const auto* const start = std::find_if_not(text.begin(), text.end(), isSpace);
  const auto prefix = start != text.end() && isSign(*start) ? 1 : start - text.begin();
  MoneyText money;
  const char* const error = readMoney(text.substr(static_cast<std::size_t>(prefix)), prefix > 0, scale.places, money);
  if (error != nullptr) return Result::failure(error);
  std::uint64_t magnitude = 0;
  if (money.overflow || __builtin_mul_overflow(money.whole, scale.factor, &magnitude) ||
      __builtin_add_overflow(magnitude, money.fraction, &magnitude))
    return Result::failure(kOutOfRange);
  return withSign(text.front() == '-', magnitude);
}

}  // namespace

Parsed<std::int64_t> parseMoney(std::string_view text, MoneyScale scale) {
  Result usual;
  return readUsualMoney(text, scale, usual.value) ? usual : parseAnyMoney(text, scale);
}

char* printMoney(std::int64_t value, MoneyScale scale, char* out) {
  const std::uint64_t magnitude = negateIf(value < 0, static_cast<std::uint64_t>(value));
  *out = '-';  // stays only before a negative amount
  out += value < 0 ? 1 : 0;
  if (scale.places != 0) return printScaled(magnitude, static_cast<std::size_t>(scale.places), out);
  // Required as is: without places a point and one "0" follow all the same.
  out = printUnsigned(magnitude, out);
  *out++ = '.';
  *out++ = '0';
  return out;
}

}  // namespace kyv_internal
