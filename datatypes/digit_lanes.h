#pragma once

// Digits sixteen at a time: always sixteen bytes are loaded, and those that do not belong to a number count as zeros.
// So its length decides no jump. One instruction works on all of them where there are such, else there are two blocks.

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "datatypes/digit_block.h"
#include "datatypes/padded_text.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace kyv_internal {

static_assert(kTextSlack >= kPieceDigits);

// The sixteen bytes that begin at index n mark the last n (0 to 16) of sixteen.
alignas(2 * kPieceDigits) inline constexpr std::array<std::uint8_t, 2 * kPieceDigits> kLastBytes = [] {
  std::array<std::uint8_t, 2 * kPieceDigits> bytes{};
  for (std::size_t i = kPieceDigits; i < bytes.size(); ++i) bytes[i] = 0xFF;
  return bytes;
}();

#if defined(__SSE2__)

// Numbers in all lanes. They are loaded from memory, which is one step of an instruction that is needed anyway: the
// compiler, if it knew them, would spend three on making each.
struct alignas(16) LaneConstants {
  std::array<std::uint8_t, 16> zeroCharacter;
  std::array<std::uint8_t, 16> point;  // what it stands for, as if it were a digit
  std::array<std::uint8_t, 16> aboveDigits;
  std::array<std::uint16_t, 8> joinDigits;
  std::array<std::uint16_t, 8> joinPairs;
  std::array<std::uint16_t, 8> joinFours;
  std::array<std::uint32_t, 4> joinEights;
};
extern const LaneConstants kLanes;

using DigitLanes = __m128i;

inline DigitLanes loadLanes(const void* bytes) { return _mm_loadu_si128(static_cast<const __m128i*>(bytes)); }
template <class Lanes>
DigitLanes constantLanes(const Lanes& lanes) {
  return _mm_load_si128(reinterpret_cast<const __m128i*>(lanes.data()));
}
inline DigitLanes lastBytes(std::size_t count) { return loadLanes(kLastBytes.data() + count); }

inline DigitLanes lanesOf(DigitBlock high, DigitBlock low) {
  return _mm_set_epi64x(static_cast<std::int64_t>(low), static_cast<std::int64_t>(high));
}

// What 16 characters stand for.
inline DigitLanes loadSixteen(const char* text) {
  return _mm_xor_si128(loadLanes(text), constantLanes(kLanes.zeroCharacter));
}

// The last, or first, 0 to 16 digits stay, the others become zeros.
inline DigitLanes keepLast(DigitLanes digits, std::size_t count) { return _mm_and_si128(digits, lastBytes(count)); }
inline DigitLanes keepFirst(DigitLanes digits, std::size_t count) {
  return _mm_andnot_si128(lastBytes(kPieceDigits - count), digits);
}

// Drops the digit before the last `count` (0 to 16): those before it move on by one.
inline DigitLanes closeUp(DigitLanes digits, std::size_t count) {
  const DigitLanes last = lastBytes(count);
  return _mm_or_si128(_mm_and_si128(last, digits), _mm_andnot_si128(last, _mm_slli_si128(digits, 1)));
}

// Bit i: byte i is a point, or no digit.
inline unsigned int pointsOf(DigitLanes digits) {
  return static_cast<unsigned int>(_mm_movemask_epi8(_mm_cmpeq_epi8(digits, constantLanes(kLanes.point))));
}
inline unsigned int faultsOf(DigitLanes digits) {
  return static_cast<unsigned int>(
      _mm_movemask_epi8(_mm_cmpeq_epi8(_mm_max_epu8(digits, constantLanes(kLanes.aboveDigits)), digits)));
}

inline bool areDigits(DigitLanes first, DigitLanes second) { return faultsOf(_mm_max_epu8(first, second)) == 0; }
inline bool areDigits(DigitLanes first, DigitLanes second, DigitLanes third) {
  return faultsOf(_mm_max_epu8(first, _mm_max_epu8(second, third))) == 0;
}

// Each step joins neighbours, as in blockValue(): to pairs and fours, to eights, to sixteens.
inline DigitLanes foursOf(DigitLanes digits) {
  const DigitLanes pairs = _mm_srli_epi16(_mm_mullo_epi16(digits, constantLanes(kLanes.joinDigits)), 8);
  return _mm_madd_epi16(pairs, constantLanes(kLanes.joinPairs));
}
inline DigitLanes eightsOf(DigitLanes fours, DigitLanes otherFours) {
  return _mm_madd_epi16(_mm_packs_epi32(fours, otherFours), constantLanes(kLanes.joinFours));
}
inline std::uint64_t firstWord(DigitLanes lanes) { return static_cast<std::uint64_t>(_mm_cvtsi128_si64(lanes)); }

inline std::uint64_t lanesValue(DigitLanes digits) {
  const DigitLanes fours = foursOf(digits);
  const std::uint64_t both = firstWord(eightsOf(fours, fours));
  return (both & 0xFFFF'FFFF) * kBlockRange + (both >> 32);
}

// The same of two at once.
inline std::array<std::uint64_t, 2> lanesValues(DigitLanes first, DigitLanes second) {
  const DigitLanes eights = eightsOf(foursOf(first), foursOf(second));
  const DigitLanes values =
      _mm_add_epi64(_mm_mul_epu32(eights, constantLanes(kLanes.joinEights)), _mm_srli_epi64(eights, 32));
  return {firstWord(values), firstWord(_mm_unpackhi_epi64(values, values))};
}

#else

// The first digits in the high block.
struct DigitLanes {
  DigitBlock high;
  DigitBlock low;
};

inline DigitLanes lanesOf(DigitBlock high, DigitBlock low) { return {high, low}; }
inline DigitLanes loadSixteen(const char* text) { return {loadDigits(text), loadDigits(text + kBlockDigits)}; }

inline DigitLanes lastBytes(std::size_t count) {
  return {loadWord<DigitBlock>(kLastBytes.data() + count),
          loadWord<DigitBlock>(kLastBytes.data() + count + kBlockDigits)};
}

inline DigitLanes keepLast(DigitLanes digits, std::size_t count) {
  const DigitLanes last = lastBytes(count);
  return {digits.high & last.high, digits.low & last.low};
}
inline DigitLanes keepFirst(DigitLanes digits, std::size_t count) {
  const DigitLanes others = lastBytes(kPieceDigits - count);
  return {digits.high & ~others.high, digits.low & ~others.low};
}

inline DigitLanes closeUp(DigitLanes digits, std::size_t count) {
  const DigitLanes last = lastBytes(count);
  const DigitLanes moved = {digits.high << 8, digits.low << 8 | digits.high >> 56};
  return {(last.high & digits.high) | (moved.high & ~last.high), (last.low & digits.low) | (moved.low & ~last.low)};
}

// The highest bit of every byte, the first byte's in bit 0.
constexpr unsigned int highestBits(DigitBlock high, DigitBlock low) {
  constexpr DigitBlock kHighest = kEachByte * 0x80;
  constexpr DigitBlock kGather = 0x0002040810204081;
  const auto gathered = [](DigitBlock block) { return static_cast<unsigned int>((block & kHighest) * kGather >> 56); };
  return gathered(high) | gathered(low) << kBlockDigits;
}

// Exact up to the first, and behind it if there is no other fault.
inline unsigned int pointsOf(DigitLanes digits) {
  constexpr DigitBlock kPoints = kEachByte * ('.' ^ '0');
  const auto zeros = [](DigitBlock block) { return (block - kEachByte) & ~block; };
  return highestBits(zeros(digits.high ^ kPoints), zeros(digits.low ^ kPoints));
}
inline unsigned int faultsOf(DigitLanes digits) { return highestBits(faultsOf(digits.high), faultsOf(digits.low)); }

inline bool areDigits(DigitLanes first, DigitLanes second, DigitLanes third) {
  return (faultsOf(first) | faultsOf(second) | faultsOf(third)) == 0;
}
inline bool areDigits(DigitLanes first, DigitLanes second) { return areDigits(first, second, second); }

inline std::uint64_t lanesValue(DigitLanes digits) {
  return blockValue(digits.high) * kBlockRange + blockValue(digits.low);
}
inline std::array<std::uint64_t, 2> lanesValues(DigitLanes first, DigitLanes second) {
  return {lanesValue(first), lanesValue(second)};
}

#endif

// How many of sixteen bytes there are from the first that has a bit on: none without bits, and that decides no jump.
constexpr std::size_t fromFirst(unsigned int bits) {
  return kPieceDigits - static_cast<std::size_t>(std::countr_zero(bits | 1U << kPieceDigits));
}

// What the characters of a text stand for: of 0 to 16 if it is padded, else of 1 to 16.
inline DigitLanes loadOwnDigits(PaddedText text) {
  return keepLast(loadSixteen(text.data() + text.size() - kPieceDigits), text.size());
}
inline DigitLanes loadOwnDigits(std::string_view text) {
  if (text.size() < kBlockDigits) return lanesOf(0, loadFewDigits(text));
  const std::size_t twice = 4 * (kPieceDigits - text.size());  // bits; both steps together may be a whole block
  return lanesOf(loadDigits(text.data()) << twice << twice, loadDigits(text.data() + text.size() - kBlockDigits));
}

inline DigitsRead readPiece(PaddedText text) {
  const DigitLanes digits = loadOwnDigits(text);
  return {faultsOf(digits), lanesValue(digits)};
}

}  // namespace kyv_internal
