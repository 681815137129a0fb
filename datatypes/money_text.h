#pragma once

// Money to and from text: 64-bit integers with implied decimal places.

#include <cstdint>
#include <string_view>

#include "datatypes/parsed.h"

namespace kyv_internal {

struct MoneyScale {
  int places;           // 0 to 18
  std::int64_t factor;  // 10 to the power of `places`
};

// White space before an unsigned number, or a sign; digits; "." and digits, of which those beyond the places are
// dropped unseen. A wrong text is found before a value that is out of range.
Parsed<std::int64_t> parseMoney(std::string_view text, MoneyScale scale);

// Writes no terminator; returns the end, at most 22 characters on. What follows the text in a buffer of this size is
// overwritten too.
inline constexpr int kMaxMoneyText = 32;
char* printMoney(std::int64_t value, MoneyScale scale, char* out);

}  // namespace kyv_internal
