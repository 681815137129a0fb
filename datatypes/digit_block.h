#pragma once

// Decimal digits eight at a time. A block is eight characters in one 64-bit word, the first of them in the lowest byte,
// so that one multiplication works on several digits at once. Everything here is on the path of every row.
//
// The readers load no byte outside their view. The writers store whole blocks: what they may overwrite behind the text
// is said beside each.

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace kyv_internal {

static_assert(std::endian::native == std::endian::little, "a block's first character is its lowest byte");

using DigitBlock = std::uint64_t;

inline constexpr std::size_t kBlockDigits = 8;
inline constexpr std::uint64_t kBlockRange = 100'000'000;  // a block's value is below it
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

// --- Reading --------------------------------------------------------------------------------------------------------

template <class Word>
Word loadWord(const char* from) {
  Word word;
  std::memcpy(&word, from, sizeof word);
  return word;
}

// The block of "0" characters that stands before `size` (1 to 8) characters at the high end.
constexpr DigitBlock leadingZeros(std::size_t size) { return kZeros >> 8 >> (8 * (size - 1)); }

// A text of 1 to 8 characters, filled up with leading "0" characters.
inline DigitBlock loadPadded(const char* text, std::size_t size) {
  const std::size_t shift = 8 * (kBlockDigits - size);
  if (size >= 4) {
    const DigitBlock head = loadWord<std::uint32_t>(text);
    const DigitBlock tail = loadWord<std::uint32_t>(text + size - 4);
    return leadingZeros(size) | head << shift | tail << 32;
  }
  const auto at = [text](std::size_t i) { return DigitBlock{static_cast<unsigned char>(text[i])}; };
  return leadingZeros(size) | at(0) << shift | at(size / 2) << (shift + 8 * (size / 2)) | at(size - 1) << 56;
}

// The first `size` (1 to 8) characters of a text of at least 8, filled up likewise.
inline DigitBlock loadHead(const char* text, std::size_t size) {
  return leadingZeros(size) | loadWord<DigitBlock>(text) << (8 * (kBlockDigits - size));
}

constexpr bool isAllDigits(DigitBlock block) {
  constexpr DigitBlock kHighHalves = kEachByte * 0xF0;
  // Adding 6 carries the characters above "9" into another row of the character table.
  return ((block & kHighHalves) | ((block + kEachByte * 6) & kHighHalves) >> 4) == kEachByte * 0x33;
}

// REQUIRES: isAllDigits(block), else the value has no meaning.
constexpr std::uint64_t blockValue(DigitBlock block) {
  constexpr DigitBlock kPairs = 0x000000FF000000FF;
  block -= kZeros;
  block = block * 10 + (block >> 8);  // every second byte now holds a pair of digits
  const DigitBlock first = (block & kPairs) * (100 + (DigitBlock{1'000'000} << 32));
  const DigitBlock second = (block >> 16 & kPairs) * (1 + (DigitBlock{10'000} << 32));
  return (first + second) >> 32 & 0xFFFFFFFF;
}

// Appends the digits of a text to `value`, modulo its range. False when the text is empty or not all digits.
template <class Unsigned>
bool readDigits(std::string_view text, Unsigned& value) {
  if (text.empty()) return false;
  const std::size_t headSize = (text.size() - 1) % kBlockDigits + 1;
  const DigitBlock head =
      text.size() >= kBlockDigits ? loadHead(text.data(), headSize) : loadPadded(text.data(), headSize);
  bool digits = isAllDigits(head);
  value = value * kPowersOfTen[headSize] + blockValue(head);
  for (std::size_t at = headSize; at != text.size(); at += kBlockDigits) {
    const auto block = loadWord<DigitBlock>(text.data() + at);
    digits &= isAllDigits(block);
    value = value * kBlockRange + blockValue(block);
  }
  return digits;
}

// --- Writing --------------------------------------------------------------------------------------------------------

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

}  // namespace kyv_internal
