#pragma once

// Finding every occurrence of one character in 64 bytes, as bits of a word: the splitter of delimited lines.

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace kyv_internal {

inline constexpr std::size_t kSearchBlock = 64;

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

// The character that is looked for.
class ByteSearch {
 public:
#if defined(__SSE2__)
  explicit ByteSearch(char wanted) : wanted_(_mm_set1_epi8(wanted)) {}
#else
  explicit ByteSearch(char wanted) : wanted_(wanted) {}
#endif

  // Bit i is set when byte i of kSearchBlock is the character.
  std::uint64_t inBlock(const char* bytes) const {
    return inSixteen(bytes) | inSixteen(bytes + 16) << 16 | inSixteen(bytes + 32) << 32 | inSixteen(bytes + 48) << 48;
  }

 private:
#if defined(__SSE2__)
  std::uint64_t inSixteen(const char* bytes) const {
    __m128i block;
    std::memcpy(&block, bytes, sizeof block);
    return static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(block, wanted_)));
  }

  __m128i wanted_;  // in every byte
#else
  std::uint64_t inSixteen(const char* bytes) const {
    return matchEight(bytes, wanted_) | matchEight(bytes + 8, wanted_) << 8;
  }

  char wanted_;
#endif
};

}  // namespace kyv_internal
