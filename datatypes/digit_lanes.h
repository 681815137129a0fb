#pragma once

// The digits of a short padded text sixteen at a time: always the sixteen bytes that end where the text does, of which
// those before it count as zeros. So its length decides no jump. One instruction works on all of them where there are
// such, else there are two blocks.

#include <array>
#include <cstddef>
#include <cstdint>

#include "datatypes/digit_block.h"
#include "datatypes/padded_text.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace kyv_internal {

static_assert(kTextSlack >= kPieceDigits);

// The bytes that belong to a text of 0 to 16 characters in the sixteen that end where it does.
inline constexpr std::array<std::array<DigitBlock, 2>, kPieceDigits + 1> kOwnBytes = [] {
  std::array<std::array<DigitBlock, 2>, kPieceDigits + 1> own{};
  for (std::size_t size = 1; size <= kPieceDigits; ++size) {
    own[size][0] = size > kBlockDigits ? ~DigitBlock{0} << 8 * (kPieceDigits - size) : 0;
    own[size][1] = size < kBlockDigits ? ~DigitBlock{0} << 8 * (kBlockDigits - size) : ~DigitBlock{0};
  }
  return own;
}();

#if defined(__SSE2__)

inline __m128i loadLanes(const void* bytes) { return _mm_loadu_si128(static_cast<const __m128i*>(bytes)); }
inline __m128i ownBytes(std::size_t size) { return loadLanes(kOwnBytes[size].data()); }

// What the characters of a text of 0 to 16 stand for.
inline __m128i loadOwnDigits(PaddedText text) {
  const __m128i characters = loadLanes(text.data() + text.size() - kPieceDigits);
  return _mm_and_si128(_mm_xor_si128(characters, _mm_set1_epi8('0')), ownBytes(text.size()));
}

// Bit i: byte i is no digit.
inline unsigned int faultsOf(__m128i digits) {
  return static_cast<unsigned int>(_mm_movemask_epi8(_mm_cmpeq_epi8(_mm_max_epu8(digits, _mm_set1_epi8(10)), digits)));
}

// Joins neighbours as blockValue() does: to pairs, to fours, to eights.
inline std::uint64_t lanesValue(__m128i digits) {
  const __m128i tens = _mm_mullo_epi16(digits, _mm_set1_epi16(10));
  const __m128i pairs = _mm_and_si128(_mm_add_epi16(tens, _mm_srli_epi16(digits, 8)), _mm_set1_epi16(0xFF));
  const __m128i fours = _mm_madd_epi16(pairs, _mm_set1_epi32(1 << 16 | 100));
  const __m128i eights = _mm_madd_epi16(_mm_packs_epi32(fours, fours), _mm_set1_epi32(1 << 16 | 10'000));
  const auto both = static_cast<std::uint64_t>(_mm_cvtsi128_si64(eights));
  return (both & 0xFFFF'FFFF) * kBlockRange + (both >> 32);
}

inline DigitsRead readPiece(PaddedText text) {
  const __m128i digits = loadOwnDigits(text);
  return {faultsOf(digits), lanesValue(digits)};
}

#else

struct TwoBlocks {
  DigitBlock high;
  DigitBlock low;
};

inline TwoBlocks loadOwnDigits(PaddedText text) {
  const char* const end = text.data() + text.size();
  const auto& own = kOwnBytes[text.size()];
  return {loadDigits(end - kPieceDigits) & own[0], loadDigits(end - kBlockDigits) & own[1]};
}

inline DigitsRead readPiece(PaddedText text) {
  const auto [high, low] = loadOwnDigits(text);
  return readBlocks(high, low);
}

#endif

}  // namespace kyv_internal
