#pragma once

// Money to and from text: 64-bit integers with implied decimal places.

#include <cstdint>
#include <string_view>

#include "datatypes/parsed.h"

namespace kyv_internal {

struct MoneyScale {
  int places;
  std::int64_t factor;  // 10 to the power of `places`
};

Parsed<std::int64_t> parseMoney(std::string_view text, MoneyScale scale);

// Writes at most 22 characters and no terminator; returns the end.
inline constexpr int kMaxMoneyText = 24;
char* printMoney(std::int64_t value, MoneyScale scale, char* out);

}  // namespace kyv_internal
