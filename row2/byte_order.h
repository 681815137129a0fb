#pragma once

// Reversing the bytes of numbers in place.

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "row2/row2_layout.h"

namespace kyv_internal {

constexpr std::uint16_t reversed(std::uint16_t value) { return __builtin_bswap16(value); }
constexpr std::uint32_t reversed(std::uint32_t value) { return __builtin_bswap32(value); }
constexpr std::uint64_t reversed(std::uint64_t value) { return __builtin_bswap64(value); }

template <class Word>
void reverseWord(unsigned char* bytes) {
  store(bytes, reversed(load<Word>(bytes)));
}

// Reverses a value of 1, 2, 4 or 8 bytes.
inline void reverseValue(unsigned char* bytes, std::size_t size) {
  switch (size) {
    case sizeof(std::uint64_t):
      return reverseWord<std::uint64_t>(bytes);
    case sizeof(std::uint32_t):
      return reverseWord<std::uint32_t>(bytes);
    case sizeof(std::uint16_t):
      return reverseWord<std::uint16_t>(bytes);
    default:
      std::reverse(bytes, bytes + size);
  }
}

// Reverses a stored decimal: its two words and its precision and scale; the bytes behind them are not used and stay.
inline void reverseDecimal(unsigned char* bytes) {
  reverseWord<std::uint64_t>(bytes);
  reverseWord<std::uint64_t>(bytes + kDecimalLowOffset);
  reverseWord<std::uint16_t>(bytes + kDecimalScaleOffset);
}

// A number in the other byte order, as a record's big-endian parts are on a little-endian host.
inline std::uint32_t bigEndian(std::uint32_t value) {
  return std::endian::native == std::endian::big ? value : reversed(value);
}

}  // namespace kyv_internal
