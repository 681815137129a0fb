#pragma once

// Decimal digits eight at a time: the eight are the bytes of one 64-bit word, the first in the lowest, so that one
// operation works on several of them. Everything here is on the path of every row.
//
// The readers load no byte outside a plain text. The writers store whole blocks: what they may overwrite behind their
// text is said beside each.

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "datatypes/padded_text.h"

namespace kyv_internal {

static_assert(std::endian::native == std::endian::little, "a block's first character is its lowest byte");

using DigitBlock = std::uint64_t;  // characters, or values of digits

inline constexpr std::size_t kBlockDigits = 8;
inline constexpr std::size_t kPieceDigits = 2 * kBlockDigits;  // what two blocks hold, and 64 bits with room to spare
inline constexpr std::uint64_t kBlockRange = 100'000'000;      // a block's value is below it
inline constexpr DigitBlock kEachByte = 0x0101010101010101;
inline constexpr DigitBlock kZeros = kEachByte * '0';

// 10 to the powers that fit in 64 bits.
inline constexpr std::array<std::uint64_t, 20> kPowersOfTen = [] {
  std::array<std::uint64_t, 20> powers{1};
  for (std::size_t i = 1; i < powers.size(); ++i) powers[i] = powers[i - 1] * 10;
  return powers;
}();

// "0000" to "9999": what DataTypes::four2ascii shows to others.
struct FourDigitTable {
  char text[10000][4];
};
extern "C" const FourDigitTable kyv_four_digits;

// --- Reading: blocks of values ---------------------------------------------------------------------------------------

template <class Word>
Word loadWord(const void* from) {
  Word word;
  std::memcpy(&word, from, sizeof word);
  return word;
}

// The characters of a text of 1 to 8, at the high end behind zero bytes.
inline DigitBlock loadFew(std::string_view text) {
  const std::size_t size = text.size();
  const std::size_t shift = 8 * (kBlockDigits - size);
  if (size >= 4) {
    const DigitBlock head = loadWord<std::uint32_t>(text.data());
    const DigitBlock tail = loadWord<std::uint32_t>(text.data() + size - 4);
    return head << shift | tail << 32;
  }
  const auto at = [text](std::size_t i) { return DigitBlock{static_cast<unsigned char>(text[i])}; };
  return at(0) << shift | at(size / 2) << (shift + 8 * (size / 2)) | at(size - 1) << 56;
}

inline DigitBlock loadFew(PaddedText text) {
  static_assert(kTextSlack >= kBlockDigits);
  return loadWord<DigitBlock>(text.data()) << (8 * (kBlockDigits - text.size()));
}

// What a character stands for: 0 to 9 for a digit, more for every other. Here of 8 characters, of a text of 1 to 8, and
// of the first 1 to 8 of at least 8. Fewer than 8 stand behind zeros.
inline DigitBlock loadDigits(const char* text) { return loadWord<DigitBlock>(text) ^ kZeros; }
inline DigitBlock loadFewDigits(std::string_view text) {
  return loadFew(text) ^ kZeros << (8 * (kBlockDigits - text.size()));
}
inline DigitBlock loadHeadDigits(const char* text, std::size_t size) {
  return loadDigits(text) << (8 * (kBlockDigits - size));
}

// The highest bit of every byte that is no digit. Exact up to the first such byte and behind a ".", which carries
// nothing.
constexpr DigitBlock faultsOf(DigitBlock digits) {
  constexpr DigitBlock kAboveNine = kEachByte * (0x80 - 10);
  return (digits | (digits + kAboveNine)) & kEachByte * 0x80;
}

// REQUIRES: faultsOf(digits) == 0, else the value has no meaning.
constexpr std::uint64_t blockValue(DigitBlock digits) {
  // Each step joins neighbours: to pairs, to fours, to all eight.
  constexpr DigitBlock kPairs = 0x00FF00FF00FF00FF;
  constexpr DigitBlock kFours = 0x0000FFFF0000FFFF;
  digits = (digits * (1 + (10 << 8))) >> 8 & kPairs;
  digits = (digits * (1 + (100 << 16))) >> 16 & kFours;
  return (digits * (1 + (DigitBlock{10'000} << 32))) >> 32;
}

// What reading some digits gave: the faults of all blocks together, and their value.
struct DigitsRead {
  DigitBlock faults;
  std::uint64_t value;
};

constexpr DigitsRead readBlocks(DigitBlock high, DigitBlock low) {
  return {faultsOf(high) | faultsOf(low), blockValue(high) * kBlockRange + blockValue(low)};
}

// 1 to 16 digits.
inline DigitsRead readPiece(std::string_view text) {
  if (text.size() <= kBlockDigits) {
    const DigitBlock block = loadFewDigits(text);
    return {faultsOf(block), blockValue(block)};
  }
  const std::size_t headSize = text.size() - kBlockDigits;
  return readBlocks(loadHeadDigits(text.data(), headSize), loadDigits(text.data() + headSize));
}

// --- Writing: blocks of characters ----------------------------------------------------------------------------------

inline char* storeBlock(DigitBlock block, char* out) {
  std::memcpy(out, &block, sizeof block);
  return out + kBlockDigits;
}

// REQUIRES: value below kBlockRange.
inline DigitBlock blockOf(std::uint64_t value) {
  const auto four = [](std::uint64_t i) { return DigitBlock{loadWord<std::uint32_t>(kyv_four_digits.text[i])}; };
  return four(value / 10000) | four(value % 10000) << 32;
}

// Both write without leading zeros, and may overwrite up to 7 bytes behind the end that they return.
inline char* printBlock(std::uint64_t value, char* out) {
  const DigitBlock block = blockOf(value);
  constexpr DigitBlock kLastDigit = DigitBlock{1} << 63;  // keeps the one digit of a zero
  const int zeros = std::countr_zero((block ^ kZeros) | kLastDigit) / 8;
  return storeBlock(block >> (8 * zeros), out) - zeros;
}

inline char* printUnsigned(std::uint64_t value, char* out) {
  constexpr std::uint64_t kTwoBlocks = kBlockRange * kBlockRange;
  if (value < kBlockRange) return printBlock(value, out);
  if (value >= kTwoBlocks) {
    out = printBlock(value / kTwoBlocks, out);
    value %= kTwoBlocks;
    out = storeBlock(blockOf(value / kBlockRange), out);
  } else {
    out = printBlock(value / kBlockRange, out);
  }
  return storeBlock(blockOf(value % kBlockRange), out);
}

// The digits of a fraction, exactly `places` (1 to 19) of them. REQUIRES: value below 10 to the power of `places`. May
// overwrite up to 7 bytes behind the end.
inline char* printFraction(std::uint64_t value, std::size_t places, char* out) {
  while (places > kBlockDigits) {
    places -= kBlockDigits;
    out = storeBlock(blockOf(value / kPowersOfTen[places]), out);
    value %= kPowersOfTen[places];
  }
  return storeBlock(blockOf(value * kPowersOfTen[kBlockDigits - places]), out) - (kBlockDigits - places);
}

// A value with its last `places` (1 to 19) digits behind a point. May overwrite up to 7 bytes behind the end.
inline char* printScaled(std::uint64_t value, std::size_t places, char* out) {
  out = printUnsigned(value / kPowersOfTen[places], out);
  *out++ = '.';
  return printFraction(value % kPowersOfTen[places], places, out);
}

}  // namespace kyv_internal
