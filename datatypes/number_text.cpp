#include "datatypes/number_text.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <system_error>

#include "datatypes/digit_block.h"
#include "datatypes/usual_number.h"

namespace kyv_internal {

// --- Integers from text ---------------------------------------------------------------------------------------------

namespace {

using Integer = Parsed<std::int64_t>;

// Any number, its sign taken off.
Integer parseMagnitude(bool negative, std::string_view text, const IntegerRules& rules) {
  DigitBlock faults = 0;
  bool overflow = false;
  std::uint64_t magnitude = 0;
  while (!text.empty()) {
    const std::string_view piece = text.substr(0, kPieceDigits);
    const DigitsRead read = readPiece(piece);
    faults |= read.faults;
    overflow |= __builtin_mul_overflow(magnitude, kPowersOfTen[piece.size()], &magnitude);
    overflow |= __builtin_add_overflow(magnitude, read.value, &magnitude);
    text.remove_prefix(piece.size());
  }
  if (faults != 0) return Integer::failure(rules.badEnd);
  if (overflow || magnitude > largestMagnitude(negative, rules)) return Integer::failure(rules.outOfRange);
  return {static_cast<std::int64_t>(negateIf(negative, magnitude))};
}

bool beginsLegally(std::string_view text, const IntegerRules& rules) {
  if (text.empty()) return false;
  if (!isSign(text.front())) return isDigit(text.front());
  return !rules.digitAfterSign || (text.size() > 1 && isDigit(text[1]));
}

}  // namespace

Parsed<std::int64_t> parseInteger(std::string_view text, const IntegerRules& rules) {
  if (Integer usual; readUsualInteger(text, rules, usual.value)) return usual;
  if (!beginsLegally(text, rules)) return Integer::failure(rules.badBegin);
  const bool negative = takeSign(text);
  if (text.empty()) return Integer::failure(rules.badEnd);
  return parseMagnitude(negative, text, rules);
}

// --- Floats from text -----------------------------------------------------------------------------------------------

namespace {

constexpr const char* kFloatBadBegin = "float constant does not begin with a legal character";
constexpr const char* kFloatBadEnd = "float constant does not end with a legal character";
constexpr const char* kFloatOutOfRange = "float constant out of range";

using Float = Parsed<double>;

// A number of any form, its sign taken off.
Float parseUnsignedFloat(std::string_view text) {
  // The library would read "inf" and "nan".
  if (text.empty() || !(isDigit(text.front()) || text.front() == '.')) return Float::failure(kFloatBadEnd);
  Float result;
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, result.value);
  if (read.ptr != end) return Float::failure(kFloatBadEnd);
  if (read.ec == std::errc::result_out_of_range) return Float::failure(kFloatOutOfRange);
  return result;
}

}  // namespace

Parsed<double> parseFloat(std::string_view text) {
  if (Float usual; readUsualFloat(text, usual.value)) return usual;
  const auto begins = [](char c) { return isDigit(c) || isSign(c) || c == '.'; };
  if (text.empty() || !begins(text.front())) return Float::failure(kFloatBadBegin);
  const bool negative = takeSign(text);
  Float result = parseUnsignedFloat(text);
  if (negative) result.value = -result.value;
  return result;
}

// --- Integers to text -----------------------------------------------------------------------------------------------

char* printInteger(std::int64_t value, char* out) {
  const auto bits = static_cast<std::uint64_t>(value);
  *out = '-';  // stays only before a negative number
  return printUnsigned(negateIf(value < 0, bits), out + (value < 0 ? 1 : 0));
}

char* printPadded(std::uint64_t value, int digits, char* out) {
  char* const end = out + digits;
  char* at = end;
  for (; at - out >= 4; value /= 10000) std::memcpy(at -= 4, kyv_four_digits.text[value % 10000], 4);
  for (; at != out; value /= 10) *--at = static_cast<char>('0' + value % 10);
  return end;
}

// --- Floats to text -------------------------------------------------------------------------------------------------

namespace {

constexpr int kMantissaBits = 52;
constexpr double kLargestFixed = 1e80;  // larger magnitudes are written with an exponent

// Digits of a double end after so many places: more are zeros.
constexpr std::size_t kMostPlaces = 1074;
constexpr std::size_t kFixedRoom = 1 + 81 + 1 + kMostPlaces;

// Sign, 20 digits, point and 19 places, and what whole blocks overwrite.
constexpr std::size_t kShortFixedRoom = 48;
constexpr std::size_t kShortFixedPlaces = 19;

// A finite double is mantissa / 2 to the power of `shift`.
struct BinaryParts {
  std::uint64_t mantissa;
  int shift;
};

BinaryParts splitDouble(double value) {
  const auto bits = std::bit_cast<std::uint64_t>(value);
  const std::uint64_t fraction = bits & ((std::uint64_t{1} << kMantissaBits) - 1);
  const int exponent = static_cast<int>(bits >> kMantissaBits & 0x7FF);
  constexpr int kBias = 1023 + kMantissaBits;
  if (exponent == 0) return {fraction, kBias - 1};
  return {fraction | std::uint64_t{1} << kMantissaBits, kBias - exponent};
}

struct FixedParts {
  std::uint64_t whole;
  std::uint64_t fraction;  // below the scale
};

// A number below 1 << 63 as whole + fraction / scale, rounded half to even. Exact: a mantissa of 53 bits times a scale
// of 64 bits stays below 1 << 117.
FixedParts roundToScale(BinaryParts parts, std::uint64_t scale) {
  using Wide = unsigned __int128;
  if (parts.shift <= 0) return {parts.mantissa << -parts.shift, 0};
  if (parts.shift > 118) return {0, 0};  // below half a unit of any scale
  const std::uint64_t whole = parts.shift < 64 ? parts.mantissa >> parts.shift : 0;
  const std::uint64_t rest = parts.shift < 64 ? parts.mantissa - (whole << parts.shift) : parts.mantissa;
  const Wide product = Wide{rest} * scale;
  const Wide half = Wide{1} << (parts.shift - 1);
  const bool odd = (whole * scale + static_cast<std::uint64_t>(product >> parts.shift)) & 1;
  const auto fraction = static_cast<std::uint64_t>((product + half - (odd ? 0 : 1)) >> parts.shift);
  return fraction == scale ? FixedParts{whole + 1, 0} : FixedParts{whole, fraction};
}

// "%.*f" of a finite value below 1 << 63.
char* printShortFixed(double value, std::size_t places, char* out) {
  const FixedParts parts = roundToScale(splitDouble(value), kPowersOfTen[places]);
  *out = '-';  // stays only before a negative number
  out = printUnsigned(parts.whole, out + (std::signbit(value) ? 1 : 0));
  if (places == 0) return out;
  *out++ = '.';
  return printFraction(parts.fraction, places, out);
}

// Any value, cut to `room`.
char* printLongFloat(double value, std::size_t places, char* out, std::size_t room) {
  char text[kFixedRoom];
  const bool fixed = !(std::fabs(value) > kLargestFixed);
  const std::size_t written = std::min(places, kMostPlaces);
  const char* const end =
      fixed ? std::to_chars(text, text + kFixedRoom, value, std::chars_format::fixed, static_cast<int>(written)).ptr
            : std::to_chars(text, text + kFixedRoom, value, std::chars_format::general, 25).ptr;
  const auto size = static_cast<std::size_t>(end - text);
  const std::size_t kept = std::min(size, room);
  std::memcpy(out, text, kept);
  const std::size_t zeros = fixed && std::isfinite(value) ? std::min(places - written, room - kept) : 0;
  std::memset(out + kept, '0', zeros);
  return out + kept + zeros;
}

}  // namespace

char* printFloat(double value, unsigned long places, double tolerance, char* out, std::size_t room) {
  constexpr double kShortLimit = 0x1p63;
  if (std::fabs(value) < tolerance) value = 0;
  if (std::fabs(value) < kShortLimit && places <= kShortFixedPlaces && room >= kShortFixedRoom)
    return printShortFixed(value, places, out);
  return printLongFloat(value, places, out, room);
}

char* printFloatShort(double value, char* out) {
  constexpr std::ptrdiff_t kRoom = 49;
  constexpr int kDigits = 15;
  const double magnitude = std::fabs(value);
  if (!(magnitude > 1e-15 && magnitude < 1e16))
    return std::to_chars(out, out + kRoom, value, std::chars_format::scientific, kDigits).ptr;
  int places = magnitude < 1 ? kDigits : kDigits - 1 - static_cast<int>(std::floor(std::log10(magnitude)));
  // Required as is: from 1e15 on the places are negative, which C's "%.*f" takes for none given: six.
  if (places < 0) places = 6;
  return std::to_chars(out, out + kRoom, value, std::chars_format::fixed, places).ptr;
}

namespace {

// Decimals of at most 15 digits are each another double. So where a value is some 15-digit decimal, that one is the
// shortest that reads back to it, zeros at its end aside.

// A point and the digits of a fraction of 10 to the power of 8, without zeros at its end but for the first digit. May
// overwrite up to 7 bytes behind the end.
char* printShortestFraction(std::uint64_t fraction, char* out) {
  const DigitBlock block = blockOf(fraction);
  constexpr DigitBlock kFirstDigit = 1;  // stays even of a zero
  const int zeros = std::countl_zero((block ^ kZeros) | kFirstDigit) / 8;
  *out = '.';
  return storeBlock(block, out + 1) - zeros;
}

// A value below 10 to the power of 15 - `places`. Null when it is no decimal with at most so many places.
template <std::size_t places>
char* printInRange(double value, double magnitude, char* out) {
  constexpr std::uint64_t kFactor = kPowersOfTen[places];
  const auto digits = static_cast<std::int64_t>(magnitude * double{kFactor} + 0.5);
  if (static_cast<double>(digits) / double{kFactor} != magnitude) return nullptr;
  *out = '-';  // stays only before a negative value
  const auto all = static_cast<std::uint64_t>(digits);
  out = printUnsigned(all / kFactor, out + (std::signbit(value) ? 1 : 0));
  return printShortestFraction(all % kFactor * kPowersOfTen[kBlockDigits - places], out);
}

// Nothing, a null pointer, for other values.
char* printShortDecimal(double value, char* out) {
  const double magnitude = std::fabs(value);
  if (magnitude < 1e7) return printInRange<8>(value, magnitude, out);
  return magnitude < 1e12 ? printInRange<3>(value, magnitude, out) : nullptr;
}

}  // namespace

char* printFloatExact(double value, char* out) {
  constexpr std::ptrdiff_t kRoom = 30;
  if (char* const end = printShortDecimal(value, out)) return end;
  char* end = std::to_chars(out, out + kRoom, value).ptr;
  if (std::all_of(out, end, [](char c) { return isDigit(c) || c == '-'; })) {
    *end++ = '.';
    *end++ = '0';
  }
  return end;
}

}  // namespace kyv_internal
