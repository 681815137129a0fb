#include "datatypes/model_layout.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "datatypes/civil_time.h"
#include "datatypes/parsed.h"
#include "datatypes/two_digits.h"

namespace kyv_internal {
namespace {

using Token = ModelToken;

constexpr int kMicroDigits = 6;
constexpr int kPowersOfTen[] = {1, 10, 100, 1000, 10'000, 100'000, 1'000'000};

bool isLiteral(const ModelTokenStep& step) { return step.token == ModelToken::kLiteral; }

// The conversion of a "%"-style format that prints and reads the same; kNothing when there is none.
char conversionOf(const ModelTokenStep& step) {
  switch (step.token) {
    case Token::kYYYY:
      return 'Y';
    case Token::kMM:
      return 'm';
    case Token::kDD:
      return 'd';
    case Token::kHH24:
      return 'H';
    case Token::kMI:
      return 'M';
    case Token::kSS:
      return 'S';
    default:
      return kNothing;
  }
}

Step stepOf(const ModelTokenStep& step) {
  if (isLiteral(step)) return {.read = kLiteralStep, .print = kLiteralStep, .literal = step.character};
  return {.read = conversionOf(step), .print = conversionOf(step)};
}

// The digits of a fraction that a token prints; 0 when the layout has no place for it.
int fractionDigitsOf(const ModelTokenStep& step) {
  const int digits = step.token == Token::kFF ? kMicroDigits : step.token == Token::kFFn ? step.character - '0' : 0;
  return digits <= kMicroDigits ? digits : 0;
}

}  // namespace

std::optional<ModelLayout> ModelLayout::of(std::span<const ModelTokenStep> steps) {
  if (std::ranges::any_of(steps, &ModelTokenStep::fill)) return std::nullopt;
  const auto all = steps;
  const int fractionDigits = steps.empty() ? 0 : fractionDigitsOf(steps.back());
  if (fractionDigits > 0) {
    steps = steps.first(steps.size() - 1);
    while (!steps.empty() && isLiteral(steps.back())) steps = steps.first(steps.size() - 1);
  }
  std::vector<Step> clockSteps;
  std::ranges::transform(steps, std::back_inserter(clockSteps), stepOf);
  const std::optional<FixedTimeLayout> clock = FixedTimeLayout::of(clockSteps);
  if (!clock) return std::nullopt;
  ModelLayout layout(*clock);
  const bool hasYear = std::ranges::count(steps, Token::kYYYY, &ModelTokenStep::token) > 0;
  if (!hasYear) layout.origin_ = daysFromCivil(1900, 1, 1) * kSecondsPerDay;
  if (fractionDigits == 0) return layout;
  const auto separator = all.subspan(steps.size(), all.size() - steps.size() - 1);
  if (separator.size() > kMostSeparator) return std::nullopt;
  std::ranges::transform(separator, layout.separator_, &ModelTokenStep::character);
  layout.separatorLength_ = separator.size();
  layout.fractionDigits_ = fractionDigits;
  if (all.back().exact) layout.leastDigits_ = kMicroDigits;
  return layout;
}

// A second above 59 is read by the clock's layout, but by no model.
bool ModelLayout::readClock(std::string_view text, std::int64_t& seconds) const {
  const std::size_t at = clock_.secondsAt();
  if (at < text.size() && text[at] > '5') return false;
  return clock_.isUsual() ? clock_.parseUsual(text.data(), seconds) : clock_.parse(text, seconds);
}

bool ModelLayout::readFraction(std::string_view digits, std::int32_t& micros) const {
  std::int32_t value = 0;
  for (const char c : digits) {
    if (!isDigit(c)) return false;
    value = 10 * value + (c - '0');
  }
  micros = value * kPowersOfTen[kMicroDigits - static_cast<int>(digits.size())];
  return true;
}

bool ModelLayout::read(std::string_view text, std::int64_t& seconds, std::int32_t& micros) const {
  const std::size_t length = clock_.length();
  micros = 0;
  if (fractionDigits_ > 0) {
    const std::size_t fixed = length + separatorLength_;
    if (text.size() < fixed + static_cast<std::size_t>(leastDigits_) || text.size() > fixed + kMicroDigits)
      return false;
    if (std::memcmp(text.data() + length, separator_, separatorLength_) != 0) return false;
    if (!readFraction(text.substr(fixed), micros)) return false;
  } else if (text.size() != length) {
    return false;
  }
  if (!readClock(text.substr(0, length), seconds)) return false;
  seconds += origin_;
  return true;
}

std::size_t ModelLayout::print(std::int64_t seconds, std::int32_t micros, char* out) const {
  const std::size_t length = clock_.print(seconds, out);
  if (length == 0 || fractionDigits_ == 0) return length;
  const int unit = kPowersOfTen[kMicroDigits - fractionDigits_];
  int fraction = (micros + unit / 2) / unit;
  if (fraction >= kPowersOfTen[fractionDigits_]) return 0;
  std::memcpy(out + length, separator_, kMostSeparator);
  char* const begin = out + length + separatorLength_;
  for (char* digit = begin + fractionDigits_; digit-- != begin; fraction /= 10) {
    *digit = static_cast<char>('0' + fraction % 10);
  }
  return length + separatorLength_ + static_cast<std::size_t>(fractionDigits_);
}

}  // namespace kyv_internal
