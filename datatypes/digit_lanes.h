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

// Numbers in all lanes. They are loaded from memory, which is one step of an instruction that is needed anyway: the
// compiler, if it knew them, would spend three on making each.
struct alignas(16) LaneConstants {
  std::array<std::uint8_t, 16> zeroCharacter;
  std::array<std::uint8_t, 16> aboveDigits;
  std::array<std::uint16_t, 8> ten;
  std::array<std::uint16_t, 8> lowByte;
  std::array<std::uint16_t, 8> joinPairs;
  std::array<std::uint16_t, 8> joinFours;
};
extern const LaneConstants kLanes;

inline __m128i loadLanes(const void* bytes) { return _mm_loadu_si128(static_cast<const __m128i*>(bytes)); }
template <class Lanes>
__m128i constantLanes(const Lanes& lanes) {
  return _mm_load_si128(reinterpret_cast<const __m128i*>(lanes.data()));
}
inline __m128i ownBytes(std::size_t size) { return loadLanes(kOwnBytes[size].data()); }

// What the characters of a text of 0 to 16 stand for.
inline __m128i loadOwnDigits(PaddedText text) {
  const __m128i characters = loadLanes(text.data() + text.size() - kPieceDigits);
  return _mm_and_si128(_mm_xor_si128(characters, constantLanes(kLanes.zeroCharacter)), ownBytes(text.size()));
}

// Bit i: byte i is no digit.
inline unsigned int faultsOf(__m128i digits) {
  return static_cast<unsigned int>(
      _mm_movemask_epi8(_mm_cmpeq_epi8(_mm_max_epu8(digits, constantLanes(kLanes.aboveDigits)), digits)));
}

// Joins neighbours as blockValue() does: to pairs, to fours, to eights.
inline std::uint64_t lanesValue(__m128i digits) {
  const __m128i tens = _mm_mullo_epi16(digits, constantLanes(kLanes.ten));
  const __m128i pairs = _mm_and_si128(_mm_add_epi16(tens, _mm_srli_epi16(digits, 8)), constantLanes(kLanes.lowByte));
  const __m128i fours = _mm_madd_epi16(pairs, constantLanes(kLanes.joinPairs));
  const __m128i eights = _mm_madd_epi16(_mm_packs_epi32(fours, fours), constantLanes(kLanes.joinFours));
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
