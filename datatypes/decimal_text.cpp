#include "datatypes/decimal_text.h"

#include <algorithm>
#include <array>

#include "datatypes/digit_block.h"
#include "datatypes/long_number.h"
#include "datatypes/short_number.h"

namespace kyv_internal {

namespace {

using Magnitude = unsigned __int128;

constexpr std::size_t kMostDigits = 39;  // of the largest magnitude, 1 << 127
constexpr Magnitude kLargest = ~Magnitude{0} >> 1;

constexpr std::array<Magnitude, kMostDigits> kWidePowers = [] {
  std::array<Magnitude, kMostDigits> powers{1};
  for (std::size_t i = 1; i < powers.size(); ++i) powers[i] = powers[i - 1] * 10;
  return powers;
}();

constexpr std::uint64_t kPieceRange = kPowersOfTen[kPieceDigits];

// --- From text ------------------------------------------------------------------------------------------------------

using Result = Parsed<Coefficient>;

Result exceeds() { return Result::failure("input exceeds specified precision"); }

Result withSign(bool negative, Magnitude magnitude, int precision) {
  const auto digits = static_cast<std::size_t>(std::max(precision, 0));
  const bool fits = digits < kMostDigits ? magnitude < kWidePowers[digits] : magnitude <= kLargest + (negative ? 1 : 0);
  if (!fits) return exceeds();
  return {static_cast<Coefficient>(negateIf(negative, magnitude))};
}

// value * factor + addend. False when that overflows.
[[nodiscard]] bool multiplyAdd(Magnitude& value, std::uint64_t factor, std::uint64_t addend) {
  const Magnitude low = Magnitude{static_cast<std::uint64_t>(value)} * factor + addend;
  const Magnitude high = (value >> 64) * factor + (low >> 64);
  value = high << 64 | static_cast<std::uint64_t>(low);
  return high >> 64 == 0;
}

// False when a character is no digit or the number overflows.
[[nodiscard]] bool appendDigits(std::string_view text, Magnitude& value) {
  while (!text.empty()) {
    const std::string_view piece = text.substr(0, kPieceDigits);
    const DigitsRead read = readPiece(piece);
    if (read.faults != 0 || !multiplyAdd(value, kPowersOfTen[piece.size()], read.value)) return false;
    text.remove_prefix(piece.size());
  }
  return true;
}

[[nodiscard]] bool appendZeros(std::size_t count, Magnitude& value) {
  for (; count > kPieceDigits; count -= kPieceDigits) {
    if (!multiplyAdd(value, kPieceRange, 0)) return false;
  }
  return multiplyAdd(value, kPowersOfTen[count], 0);
}

Result parseAnyDecimal(bool negative, std::string_view text, int precision, std::size_t scale) {
  const std::size_t point = text.find('.');
  const std::string_view whole = text.substr(0, point);
  const std::string_view fraction = point == std::string_view::npos ? std::string_view() : text.substr(point + 1);
  const std::string_view kept = fraction.substr(0, scale);
  const std::string_view dropped = fraction.substr(kept.size());
  if (whole.empty() && fraction.empty()) return exceeds();
  Magnitude magnitude = 0;
  if (!appendDigits(whole, magnitude) || !appendDigits(kept, magnitude) ||
      !appendZeros(scale - kept.size(), magnitude) || !std::all_of(dropped.begin(), dropped.end(), isDigit))
    return exceeds();
  return withSign(negative, magnitude, precision);
}

// What needs no other care gets its result in one of the next two, from the text behind its sign. They are functions of
// their own, to which parseText() jumps: so none has to save registers that only the other uses.

[[gnu::noinline]] Result parseLongText(bool negative, std::string_view text, int precision, std::size_t scale) {
  const LongNumber number = readLongNumber(text);
  const auto digits = static_cast<int>(number.wholeDigits + scale);
  if (!number.valid || number.places > scale || digits > precision || digits >= static_cast<int>(kMostDigits))
    return parseAnyDecimal(negative, text, precision, scale);
  const Magnitude magnitude = number.head * kWidePowers[number.tailDigits + scale] + number.tail * kWidePowers[scale] +
                              number.fraction * kWidePowers[scale - number.places];
  return {static_cast<Coefficient>(negateIf(negative, magnitude))};
}

template <class Text>
[[gnu::noinline]] Result parseShortText(bool negative, Text text, int precision, std::size_t scale) {
  const ShortNumber number = readShortNumber(text);
  if (!number.valid || scale >= number.places + kPowersOfTen.size())
    return parseAnyDecimal(negative, text, precision, scale);
  const Magnitude magnitude = number.places > scale ? number.digits / kPowersOfTen[number.places - scale]
                                                    : Magnitude{number.digits} * kPowersOfTen[scale - number.places];
  return withSign(negative, magnitude, precision);
}

template <class Text>
Result parseText(Text text, int precision, int scale) {
  if (scale < 0 || scale > kMaxDecimalScale) return exceeds();
  const bool negative = takeSign(text);
  const auto places = static_cast<std::size_t>(scale);
  return text.size() < kLeastLongText ? parseShortText(negative, text, precision, places)
                                      : parseLongText(negative, text, precision, places);
}

}  // namespace

Result parseDecimal(std::string_view text, int precision, int scale) { return parseText(text, precision, scale); }
Result parseDecimal(PaddedText text, int precision, int scale) { return parseText(text, precision, scale); }

// --- To text --------------------------------------------------------------------------------------------------------

namespace {

// Both may overwrite up to 7 bytes behind the end that they return.
char* printPiece(std::uint64_t value, char* out) {
  out = storeBlock(blockOf(value / kBlockRange), out);
  return storeBlock(blockOf(value % kBlockRange), out);
}

char* printWide(Magnitude value, char* out) {
  if (value >> 64 == 0) return printUnsigned(static_cast<std::uint64_t>(value), out);
  const Magnitude rest = value / kPieceRange;
  return printPiece(static_cast<std::uint64_t>(value - rest * kPieceRange), printWide(rest, out));
}

// REQUIRES: value below 10 to the power of `places`, which is at least 1.
char* printWideFraction(Magnitude value, std::size_t places, char* out) {
  if (places <= kPieceDigits) return printFraction(static_cast<std::uint64_t>(value), places, out);
  const Magnitude rest = value / kPieceRange;
  return printPiece(static_cast<std::uint64_t>(value - rest * kPieceRange),
                    printWideFraction(rest, places - kPieceDigits, out));
}

}  // namespace

char* printDecimal(Coefficient coefficient, int scale, char* out) {
  const Magnitude magnitude = negateIf(coefficient < 0, static_cast<Magnitude>(coefficient));
  const auto places = static_cast<std::size_t>(scale);
  *out = '-';  // stays only before a negative number
  out += coefficient < 0 ? 1 : 0;
  if (places == 0) return printWide(magnitude, out);
  if (magnitude >> 64 == 0 && places < kPowersOfTen.size())
    return printScaled(static_cast<std::uint64_t>(magnitude), places, out);
  const Magnitude whole = places < kMostDigits ? magnitude / kWidePowers[places] : 0;
  const Magnitude fraction = places < kMostDigits ? magnitude - whole * kWidePowers[places] : magnitude;
  out = printWide(whole, out);
  *out++ = '.';
  return printWideFraction(fraction, places, out);
}

}  // namespace kyv_internal
