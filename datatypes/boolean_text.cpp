#include "datatypes/boolean_text.h"

namespace kyv_internal {

namespace {

constexpr struct {
  DigitBlock signature;
  bool value;
} kWords[] = {
    {kTrueWord, true},
    {kFalseWord, false},
    {wordSignatureOf("1"), true},
    {wordSignatureOf("0"), false},
    {wordSignatureOf("t"), true},
    {wordSignatureOf("f"), false},
    {wordSignatureOf("yes"), true},
    {wordSignatureOf("no"), false},
    {wordSignatureOf("y"), true},
    {wordSignatureOf("n"), false},
    {wordSignatureOf("on"), true},
    {wordSignatureOf("off"), false},
};

constexpr std::string_view trimPlainSpace(std::string_view text) {
  while (!text.empty() && isPlainSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && isPlainSpace(text.back())) text.remove_suffix(1);
  return text;
}

}  // namespace

Parsed<bool> parseBoolean(std::string_view text) {
  const std::string_view word = trimPlainSpace(text);
  if (!word.empty() && word.size() <= kLongestBoolean) {
    const DigitBlock given = wordSignature(loadFew(word), word.size());
    for (const auto& known : kWords) {
      if (known.signature == given) return {known.value};
    }
  }
  return Parsed<bool>::failure("not a legal boolean value");
}

}  // namespace kyv_internal
