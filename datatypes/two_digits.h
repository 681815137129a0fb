#pragma once

// Two decimal digits at a time, the way clocks and calendars are written.

#include <array>
#include <cstddef>
#include <cstring>

namespace kyv_internal {

// "00" to "99" in a row.
inline constexpr std::array<char, 200> kTwoDigits = [] {
  std::array<char, 200> digits{};
  for (std::size_t i = 0; i < 100; ++i) {
    digits[2 * i] = static_cast<char>('0' + i / 10);
    digits[2 * i + 1] = static_cast<char>('0' + i % 10);
  }
  return digits;
}();

// Values 0 to 99. Returns the end.
inline char* printTwoDigits(unsigned int value, char* out) {
  std::memcpy(out, &kTwoDigits[std::size_t{2} * value], 2);
  return out + 2;
}

}  // namespace kyv_internal
