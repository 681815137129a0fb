#pragma once

// What a text-to-value core gives, and the scanning helpers that the cores share.

#include <cstdint>
#include <string_view>

namespace kyv_internal {

// A value, or the static message that says why there is none. With an error the value is unspecified.
template <class T>
struct [[nodiscard]] Parsed {
  T value{};
  const char* error = nullptr;

  static constexpr Parsed failure(const char* message) { return {T{}, message}; }
};

constexpr bool isDigit(char c) { return static_cast<unsigned char>(c - '0') <= 9; }

// White space as the C library's isspace has it in the "C" locale.
constexpr bool isSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// The fewer characters that are white space to boolean and hexadecimal text.
constexpr bool isPlainSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

constexpr bool isSign(char c) { return c == '-' || c == '+'; }

// Removes a leading sign. True for "-".
constexpr bool takeSign(std::string_view& text) {
  if (text.empty()) return false;
  const char first = text.front();
  text.remove_prefix(isSign(first) ? 1 : 0);  // decides no jump
  return first == '-';
}

// A two's-complement number, negated on demand without a jump.
template <class Unsigned>
constexpr Unsigned negateIf(bool negative, Unsigned value) {
  const auto mask = static_cast<Unsigned>(-std::int64_t{negative});  // one register, however wide the number is
  return (value ^ mask) - mask;
}

}  // namespace kyv_internal
