#include "datatypes/decimal_text.h"

#include <algorithm>
#include <array>

#include "datatypes/digit_block.h"
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

// Digits that are read and written as one 64-bit number.
constexpr std::size_t kPieceDigits = 2 * kBlockDigits;
constexpr std::uint64_t kPieceRange = kPowersOfTen[kPieceDigits];

// --- From text ------------------------------------------------------------------------------------------------------

using Result = Parsed<Coefficient>;

Result exceeds() { return Result::failure("input exceeds specified precision"); }

Result withSign(bool negative, Magnitude magnitude, int precision) {
  const auto digits = static_cast<std::size_t>(std::max(precision, 0));
  if (digits < kMostDigits && magnitude >= kWidePowers[digits]) return exceeds();
  if (magnitude > kLargest + (negative ? 1 : 0)) return exceeds();
  return {static_cast<Coefficient>(negative ? -magnitude : magnitude)};
}

// False when a character is no digit or the number overflows.
[[nodiscard]] bool appendDigits(std::string_view text, Magnitude& value) {
  while (!text.empty()) {
    const std::string_view piece = text.substr(0, kPieceDigits);
    std::uint64_t digits = 0;
    if (!readDigits(piece, digits) || __builtin_mul_overflow(value, kPowersOfTen[piece.size()], &value) ||
        __builtin_add_overflow(value, digits, &value))
      return false;
    text.remove_prefix(piece.size());
  }
  return true;
}

[[nodiscard]] bool appendZeros(std::size_t count, Magnitude& value) {
  if (value == 0) return true;
  return count < kMostDigits && !__builtin_mul_overflow(value, kWidePowers[count], &value);
}

Result parseLongDecimal(bool negative, std::string_view text, int precision, std::size_t scale) {
  const std::size_t point = text.find('.');
  const std::string_view whole = text.substr(0, point);
  const std::string_view fraction = point == text.npos ? std::string_view() : text.substr(point + 1);
  const std::string_view kept = fraction.substr(0, scale);
  const std::string_view dropped = fraction.substr(kept.size());
  if (whole.empty() && fraction.empty()) return exceeds();
  Magnitude magnitude = 0;
  if (!appendDigits(whole, magnitude) || !appendDigits(kept, magnitude) ||
      !appendZeros(scale - kept.size(), magnitude) || !std::all_of(dropped.begin(), dropped.end(), isDigit))
    return exceeds();
  return withSign(negative, magnitude, precision);
}

}  // namespace

Parsed<Coefficient> parseDecimal(std::string_view text, int precision, int scale) {
  if (scale < 0 || scale > kMaxDecimalScale) return exceeds();
  const bool negative = takeSign(text);
  const ShortNumber number = readShortNumber(text);
  const std::size_t places = number.valid ? number.places : 0;
  const auto wanted = static_cast<std::size_t>(scale);
  if (!number.valid || wanted >= places + kPowersOfTen.size())
    return parseLongDecimal(negative, text, precision, wanted);
  const Magnitude magnitude = places > wanted ? number.digits / kPowersOfTen[places - wanted]
                                              : Magnitude{number.digits} * kPowersOfTen[wanted - places];
  return withSign(negative, magnitude, precision);
}

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
  const auto bits = static_cast<Magnitude>(coefficient);
  const Magnitude magnitude = coefficient < 0 ? -bits : bits;
  const auto places = static_cast<std::size_t>(scale);
  *out = '-';  // stays only before a negative number
  out += coefficient < 0 ? 1 : 0;
  if (places == 0) return printWide(magnitude, out);
  const Magnitude whole = places < kMostDigits ? magnitude / kWidePowers[places] : 0;
  out = printWide(whole, out);
  *out++ = '.';
  return printWideFraction(places < kMostDigits ? magnitude - whole * kWidePowers[places] : magnitude, places, out);
}

}  // namespace kyv_internal
