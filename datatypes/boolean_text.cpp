#include "datatypes/boolean_text.h"

#include <cstdint>

namespace kyv_internal {

namespace {

constexpr std::size_t kLongestWord = 5;

// The characters of a short word in one number, letters in lower case.
constexpr std::uint64_t packLower(std::string_view word) {
  std::uint64_t packed = 1;  // so that a leading NUL character counts
  for (const char c : word) {
    const char lower = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    packed = packed << 8 | static_cast<unsigned char>(lower);
  }
  return packed;
}

constexpr struct {
  std::uint64_t word;
  bool value;
} kWords[] = {
    {packLower("true"), true}, {packLower("false"), false}, {packLower("1"), true},   {packLower("0"), false},
    {packLower("t"), true},    {packLower("f"), false},     {packLower("yes"), true}, {packLower("no"), false},
    {packLower("y"), true},    {packLower("n"), false},     {packLower("on"), true},  {packLower("off"), false},
};

constexpr std::string_view trimPlainSpace(std::string_view text) {
  while (!text.empty() && isPlainSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && isPlainSpace(text.back())) text.remove_suffix(1);
  return text;
}

}  // namespace

Parsed<bool> parseBoolean(std::string_view text) {
  const std::string_view word = trimPlainSpace(text);
  if (word.size() <= kLongestWord) {
    const std::uint64_t packed = packLower(word);
    for (const auto& known : kWords) {
      if (known.word == packed) return {known.value};
    }
  }
  return Parsed<bool>::failure("not a legal boolean value");
}

}  // namespace kyv_internal
