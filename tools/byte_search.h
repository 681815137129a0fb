#pragma once

// Finds the first of two bytes in short texts, eight bytes at a time.

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace kyv_internal {

// The same byte in all eight places.
constexpr std::uint64_t eightTimes(char byte) { return 0x0101010101010101U * static_cast<unsigned char>(byte); }

// A word whose lowest set bit is in the first byte of `word` that is zero; 0 when none is.
constexpr std::uint64_t markZeroBytes(std::uint64_t word) {
  return (word - 0x0101010101010101U) & ~word & 0x8080808080808080U;
}

// Where the first `one` or `other` stands at or after `from`, or the text's size.
inline std::size_t findEither(std::string_view text, std::size_t from, char one, char other) {
  std::size_t at = from;
  if constexpr (std::endian::native == std::endian::little) {
    const std::uint64_t ones = eightTimes(one);
    const std::uint64_t others = eightTimes(other);
    for (; at + sizeof(std::uint64_t) <= text.size(); at += sizeof(std::uint64_t)) {
      std::uint64_t word = 0;
      std::memcpy(&word, text.data() + at, sizeof word);
      const std::uint64_t marks = markZeroBytes(word ^ ones) | markZeroBytes(word ^ others);
      if (marks != 0) return at + static_cast<std::size_t>(std::countr_zero(marks)) / 8;
    }
  }
  while (at < text.size() && text[at] != one && text[at] != other) ++at;
  return at;
}

}  // namespace kyv_internal
