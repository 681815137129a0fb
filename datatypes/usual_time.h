#pragma once

// The usual texts of times, "2009-02-13 23:31:30" and the same with all digits of a fraction, read here without loops.
// Like the readers of usual numbers these say false to every other text, which takes its type's careful way.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "datatypes/datetime_text.h"
#include "datatypes/digit_block.h"
#include "datatypes/fixed_time_layout.h"
#include "datatypes/padded_text.h"
#include "datatypes/parsed.h"
#include "datatypes/percent_format.h"

namespace kyv_internal {

// A point and exactly `digits` digits behind a date and a time of the usual layout, which together count units of that
// fraction of a second.
template <std::size_t digits>
[[nodiscard]] bool readUsualFraction(std::string_view text, const PercentFormat& format, std::int64_t& count) {
  constexpr DigitBlock kFraction = ~DigitBlock{0} << 8 * (kBlockDigits - digits);
  constexpr std::size_t kSeconds = FixedTimeLayout::kUsualLength;
  if (text.size() != kSeconds + 1 + digits) return false;
  const DigitBlock fraction = loadDigits(text.data() + text.size() - kBlockDigits) & kFraction;
  std::int64_t seconds = 0;
  if (text[kSeconds] != '.' || faultsOf(fraction) != 0 || !format.parseUsual({text.data(), kSeconds}, seconds))
    return false;
  count = seconds * static_cast<std::int64_t>(kPowersOfTen[digits]) + static_cast<std::int64_t>(blockValue(fraction));
  return true;
}

inline Parsed<std::int64_t> parseDate(PaddedText text, const PercentFormat& format) {
  Parsed<std::int64_t> usual;
  return format.parseUsual(text, usual.value) ? usual : parseDate(std::string_view(text), format);
}

inline Parsed<std::int64_t> parseTime(PaddedText text, const PercentFormat& format) {
  Parsed<std::int64_t> usual;
  return format.parseUsual(text, usual.value) ? usual : parseTime(std::string_view(text), format);
}

inline Parsed<std::int64_t> parseTimestamp(PaddedText text, const PercentFormat& format) {
  Parsed<std::int64_t> usual;
  return readUsualFraction<3>(text, format, usual.value) ? usual : parseTimestamp(std::string_view(text), format);
}

inline Parsed<std::int64_t> parseBigDateTime(PaddedText text, const PercentFormat& format) {
  Parsed<std::int64_t> usual;
  return readUsualFraction<6>(text, format, usual.value) ? usual : parseBigDateTime(std::string_view(text), format);
}

}  // namespace kyv_internal
