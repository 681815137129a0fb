#include "datatypes/decimal_text.h"

#include <algorithm>
#include <array>
#include <bit>

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

constexpr std::uint64_t kPieceRange = kPowersOfTen[kPieceDigits];

// --- From text ------------------------------------------------------------------------------------------------------

using Result = Parsed<Coefficient>;

Result exceeds() { return Result::failure("input exceeds specified precision"); }

Result withSign(bool negative, Magnitude magnitude, int precision) {
  const auto digits = static_cast<std::size_t>(std::max(precision, 0));
  if (digits < kMostDigits && magnitude >= kWidePowers[digits]) return exceeds();
  if (magnitude > kLargest + (negative ? 1 : 0)) return exceeds();
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

Result parseLongDecimal(bool negative, std::string_view text, int precision, std::size_t scale) {
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

// --- Long numbers of at most 38 digits, without a check for overflow ---

// The index of the only "." that a number of at least 8 characters can have; its size without one. For other texts some
// index.
std::size_t findPoint(std::string_view text) {
  std::size_t end = text.size();
  do {
    const std::size_t begin = end > kBlockDigits ? end - kBlockDigits : 0;
    const DigitBlock faults = faultsOf(loadDigits(text.data() + begin));
    if (faults != 0) return begin + static_cast<std::size_t>(std::countr_zero(faults)) / 8;
    end = begin;
  } while (end > 0);
  return text.size();
}

// Eight digits from the given one on, as if the point were not there.
DigitBlock loadAround(const char* text, std::size_t point, std::size_t digit) {
  if (digit >= point) return loadDigits(text + digit + 1);
  const DigitBlock before = loadDigits(text + digit);
  if (digit + kBlockDigits <= point) return before;
  const DigitBlock behind = ~DigitBlock{0} << (8 * (point - digit));
  return (before & ~behind) | (loadDigits(text + digit + 1) & behind);
}

// The value of `count` (9 to 38) digits. False when a character is no digit.
[[nodiscard]] bool readAround(const char* text, std::size_t point, std::size_t count, Magnitude& value) {
  const std::size_t headSize = (count - 1) % kBlockDigits + 1;
  const DigitBlock head = loadAround(text, point, 0) << (8 * (kBlockDigits - headSize));
  DigitBlock faults = faultsOf(head);
  value = blockValue(head);
  for (std::size_t digit = headSize; digit < count; digit += kBlockDigits) {
    const DigitBlock block = loadAround(text, point, digit);
    faults |= faultsOf(block);
    value = value * kBlockRange + blockValue(block);
  }
  return faults == 0;
}

// What needs no other care gets its result here. False when the text must be read with all care.
[[nodiscard]] bool readUsualLongText(std::string_view text, std::size_t scale, Magnitude& magnitude) {
  if (text.size() <= kPieceDigits || text.size() >= kMostDigits) return false;
  const std::size_t point = findPoint(text);
  const bool hasPoint = point < text.size();
  if (hasPoint && text[point] != '.') return false;
  const std::size_t count = text.size() - (hasPoint ? 1 : 0);
  const std::size_t places = count - point;
  if (places > scale || count + scale - places >= kMostDigits) return false;
  if (!readAround(text.data(), point, count, magnitude)) return false;
  if (places < scale) magnitude *= kWidePowers[scale - places];
  return true;
}

}  // namespace

Parsed<Coefficient> parseDecimal(std::string_view text, int precision, int scale) {
  if (scale < 0 || scale > kMaxDecimalScale) return exceeds();
  const bool negative = takeSign(text);
  const auto wanted = static_cast<std::size_t>(scale);
  if (Magnitude magnitude = 0; readUsualLongText(text, wanted, magnitude))
    return withSign(negative, magnitude, precision);
  const ShortNumber number = readShortNumber(text);
  const std::size_t places = number.valid() ? number.places : 0;
  if (!number.valid() || wanted >= places + kPowersOfTen.size())
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
