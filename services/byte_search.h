#pragma once

// Finding every occurrence of one character in a text, 64 bytes a step, as bits of a word: the splitter of delimited
// lines.

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace kyv_internal {

inline constexpr std::size_t kSearchBlock = 64;
inline constexpr std::size_t kSearchStep = 16;

// The portable route: bit i is set when byte i of eight is `wanted`.
inline std::uint64_t matchEight(const char* bytes, char wanted) {
  constexpr std::uint64_t kOnes = 0x0101010101010101;
  constexpr std::uint64_t kLow7 = 0x7F7F7F7F7F7F7F7F;
  constexpr std::uint64_t kGather = 0x0102040810204080;
  std::uint64_t word;
  std::memcpy(&word, bytes, sizeof word);
  if constexpr (std::endian::native == std::endian::big) word = __builtin_bswap64(word);
  word ^= kOnes * static_cast<unsigned char>(wanted);
  const std::uint64_t nonZero = ((word & kLow7) + kLow7) | word;  // the top bit of each byte that differs
  return (((~nonZero >> 7) & kOnes) * kGather) >> 56;
}

// Bit i is set when byte i of sixteen is `wanted`.
inline std::uint64_t matchSixteen(const char* bytes, char wanted) {
#if defined(__SSE2__)
  __m128i block;
  std::memcpy(&block, bytes, sizeof block);
  return static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(block, _mm_set1_epi8(wanted))));
#else
  return matchEight(bytes, wanted) | matchEight(bytes + 8, wanted) << 8;
#endif
}

// The same for 64 bytes.
inline std::uint64_t matchBlock(const char* bytes, char wanted) {
  return matchSixteen(bytes, wanted) | matchSixteen(bytes + 16, wanted) << 16 | matchSixteen(bytes + 32, wanted) << 32 |
         matchSixteen(bytes + 48, wanted) << 48;
}

// The same for the text's last bytes, from `begin` on: fewer than 64. Nothing behind the text is read, but the bytes
// before `begin` may be.
inline std::uint64_t matchTail(std::string_view text, std::size_t begin, char wanted) {
  const std::size_t size = text.size() - begin;
  std::uint64_t mask = 0;
  std::size_t done = 0;
  for (; done + kSearchStep <= size; done += kSearchStep) {
    mask |= matchSixteen(text.data() + begin + done, wanted) << done;
  }
  if (done == size) return mask;
  const std::size_t rest = size - done;
  if (text.size() >= kSearchStep) {  // the last sixteen bytes, less those that were seen
    return mask | matchSixteen(text.data() + text.size() - kSearchStep, wanted) >> (kSearchStep - rest) << done;
  }
  char padded[kSearchStep] = {};
  std::memcpy(padded, text.data(), text.size());
  return matchSixteen(padded, wanted) & ((std::uint64_t{1} << rest) - 1);
}

// The occurrences in the 64 bytes from `begin` on, or in those that are left.
inline std::uint64_t matchFrom(std::string_view text, std::size_t begin, char wanted) {
  return text.size() - begin >= kSearchBlock ? matchBlock(text.data() + begin, wanted) : matchTail(text, begin, wanted);
}

// Calls `found(position)` for each occurrence in order, until it returns false.
template <class Found>
void forEachMatch(std::string_view text, char wanted, Found found) {
  for (std::size_t block = 0; block < text.size(); block += kSearchBlock) {
    for (std::uint64_t mask = matchFrom(text, block, wanted); mask != 0; mask &= mask - 1) {
      if (!found(block + static_cast<std::size_t>(std::countr_zero(mask)))) return;
    }
  }
}

}  // namespace kyv_internal
