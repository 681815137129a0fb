#pragma once

// Decimals to and from text: a 128-bit two's-complement coefficient with a number of places.

#include <cstdint>
#include <string_view>

#include "datatypes/padded_text.h"
#include "datatypes/parsed.h"

namespace kyv_internal {

using Coefficient = __int128;

constexpr Coefficient makeCoefficient(std::uint64_t high, std::uint64_t low) {
  return static_cast<Coefficient>((static_cast<unsigned __int128>(high) << 64) | low);
}
constexpr std::uint64_t highWord(Coefficient c) {
  return static_cast<std::uint64_t>(static_cast<unsigned __int128>(c) >> 64);
}
constexpr std::uint64_t lowWord(Coefficient c) { return static_cast<std::uint64_t>(c); }

inline constexpr int kMaxDecimalScale = 63;

// The coefficient of a text at `scale` (0 to 63, another fails) places: an optional sign, digits with at most one "."
// among, before or behind them. Places beyond the scale are dropped. Every failure has the one message.
Parsed<Coefficient> parseDecimal(std::string_view text, int precision, int scale);
Parsed<Coefficient> parseDecimal(PaddedText text, int precision, int scale);

// All digits of the coefficient, the point before the last `scale` of them (0 to 63), no terminator. Returns the end.
// What follows the text in a buffer of this size is overwritten too.
inline constexpr int kMaxDecimalText = 80;
char* printDecimal(Coefficient coefficient, int scale, char* out);

}  // namespace kyv_internal
