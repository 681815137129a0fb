#include "datatypes/boolean_text.h"

#include "datatypes/digit_block.h"

namespace kyv_internal {

namespace {

constexpr std::size_t kLongestWord = 5;

// The characters of a block in lower case. What is no letter cannot become one: both cases have bit 0x40.
constexpr DigitBlock toLower(DigitBlock block) { return block | (block & kEachByte * 0x40) >> 1; }

// A word in lower case and its length, which stands in a byte before it.
constexpr DigitBlock signature(DigitBlock word, std::size_t size) { return toLower(word) | size; }

constexpr DigitBlock signatureOf(std::string_view word) {
  DigitBlock block = 0;
  for (const char c : word) block = block >> 8 | DigitBlock{static_cast<unsigned char>(c)} << 56;
  return signature(block, word.size());
}

constexpr DigitBlock kTrue = signatureOf("true");
constexpr DigitBlock kFalse = signatureOf("false");

constexpr struct {
  DigitBlock signature;
  bool value;
} kWords[] = {
    {kTrue, true},
    {kFalse, false},
    {signatureOf("1"), true},
    {signatureOf("0"), false},
    {signatureOf("t"), true},
    {signatureOf("f"), false},
    {signatureOf("yes"), true},
    {signatureOf("no"), false},
    {signatureOf("y"), true},
    {signatureOf("n"), false},
    {signatureOf("on"), true},
    {signatureOf("off"), false},
};

constexpr std::string_view trimPlainSpace(std::string_view text) {
  while (!text.empty() && isPlainSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && isPlainSpace(text.back())) text.remove_suffix(1);
  return text;
}

}  // namespace

Parsed<bool> parseBoolean(std::string_view text) {
  const std::string_view word = trimPlainSpace(text);
  if (!word.empty() && word.size() <= kLongestWord) {
    const DigitBlock given = signature(loadFew(word), word.size());
    for (const auto& known : kWords) {
      if (known.signature == given) return {known.value};
    }
  }
  return Parsed<bool>::failure("not a legal boolean value");
}

// Which of the two usual words it is decides no jump.
Parsed<bool> parseBoolean(PaddedText text) {
  if (!text.empty() && text.size() <= kLongestWord) {
    const DigitBlock given = signature(loadFew(text), text.size());
    const bool value = given == kTrue;
    if (static_cast<int>(value) | static_cast<int>(given == kFalse)) return {value};
  }
  return parseBoolean(std::string_view(text));
}

}  // namespace kyv_internal
