#include "value_guess.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

#include "kyv/data_types.h"

namespace kyv_internal {
namespace {

constexpr std::size_t kTimestampDigits = 3;
constexpr std::size_t kBigDateTimeDigits = 6;
constexpr std::int64_t kMostExactInFloat = std::int64_t{1} << std::numeric_limits<double>::digits;

// Each pair side by side.
constexpr std::array<std::string_view, 10> kBooleanWords = {"true", "false", "yes", "no", "on",
                                                            "off",  "t",     "f",   "y",  "n"};
constexpr std::size_t kFirstLetterWord = 6;

bool isDigit(char byte) { return byte >= '0' && byte <= '9'; }

bool equalsIgnoringCase(std::string_view text, std::string_view word) {
  const auto same = [](char left, char right) { return left == right || left == right + ('a' - 'A'); };
  return std::equal(word.begin(), word.end(), text.begin(), text.end(), same);
}

unsigned integerForm(std::string_view text) {
  std::int64_t value = 0;
  const auto [end, status] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (status != std::errc() || end != text.data() + text.size()) return kNoNumber;
  if (value == static_cast<std::int32_t>(value)) return kSmallInteger;
  return value >= -kMostExactInFloat && value <= kMostExactInFloat ? kLongInteger : kWideInteger;
}

unsigned fractionForm(std::string_view text) {
  if (text.starts_with('+')) text.remove_prefix(1);
  if (text.empty() || (text.front() == '-' && text.size() == 1)) return kNoNumber;
  double value = 0;
  const auto [end, status] = std::from_chars(text.data(), text.data() + text.size(), value);
  return status == std::errc() && end == text.data() + text.size() ? kFraction : kNoNumber;
}

}  // namespace

unsigned numberForm(std::string_view text) {
  const bool negative = text.starts_with('-');
  const std::string_view digits = text.substr(negative || text.starts_with('+') ? 1 : 0);
  if (digits.empty() || (!isDigit(digits.front()) && digits.front() != '.')) return kNoNumber;
  const bool isCode = digits.size() > 1 && digits[0] == '0' && isDigit(digits[1]);
  if (isCode) return kNoNumber;
  // A whole number with a plus sign is more likely to be dialled than added.
  if (std::all_of(digits.begin(), digits.end(), isDigit)) return text.starts_with('+') ? kNoNumber : integerForm(text);
  return fractionForm(text);
}

unsigned booleanWord(std::string_view text) {
  for (std::size_t i = 0; i < kBooleanWords.size(); ++i) {
    if (equalsIgnoringCase(text, kBooleanWords[i])) return 1U << i;
  }
  return kNoBoolean;
}

bool isBooleanColumn(unsigned words) {
  for (std::size_t i = 0; i < kBooleanWords.size(); i += 2) {
    const unsigned pair = 3U << i;
    const bool ofThisPair = words != 0 && (words & ~pair) == 0;
    if (ofThisPair) return i < kFirstLetterWord || words == pair;
  }
  return false;
}

ColumnGuess::ColumnGuess(const ColumnFormats& formats)
    : formats_(&formats), dates_(formats.dates.all()), timestamps_(formats.timestamps.all()) {}

void ColumnGuess::add(std::string_view text) {
  ++values_;
  if ((numberForms_ & kNoNumber) == 0) numberForms_ |= numberForm(text);
  if ((booleanWords_ & kNoBoolean) == 0) booleanWords_ |= booleanWord(text);
  if (dates_.any()) formats_->dates.keepFitting(text, dates_);
  if (timestamps_.any()) addTimestamp(text);
}

void ColumnGuess::addTimestamp(std::string_view text) {
  const TimestampText split = splitFraction(text);
  fractionDigits_ = std::max(fractionDigits_, split.fractionDigits);
  formats_->timestamps.keepFitting(split.whole, timestamps_);
  if (split.fractionDigits > kBigDateTimeDigits) timestamps_.reset();
}

unsigned int ColumnGuess::plainType() const {
  if (values_ == 0 || (numberForms_ & kNoNumber) != 0) {
    return isBooleanColumn(booleanWords_) ? DataTypes::kBoolean : DataTypes::kString;
  }
  if ((numberForms_ & kFraction) != 0) {
    return (numberForms_ & kWideInteger) != 0 ? DataTypes::kString : DataTypes::kFloat;
  }
  return numberForms_ == kSmallInteger ? DataTypes::kInteger : DataTypes::kLong;
}

unsigned int ColumnGuess::timestampType() const {
  return fractionDigits_ > kTimestampDigits ? DataTypes::kBigDateTime : DataTypes::kTimestamp;
}

std::uint64_t ColumnGuess::nulls(unsigned int type) const {
  return type == DataTypes::kString ? nulls_ : nulls_ + emptyTexts_;
}

}  // namespace kyv_internal
