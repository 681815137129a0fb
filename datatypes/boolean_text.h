#pragma once

// The words for true and false.

#include <string_view>

#include "datatypes/digit_block.h"
#include "datatypes/padded_text.h"
#include "datatypes/parsed.h"

namespace kyv_internal {

Parsed<bool> parseBoolean(std::string_view text);

inline constexpr std::size_t kLongestBoolean = 5;

// The characters of a block in lower case. What is no letter cannot become one: both cases have bit 0x40.
constexpr DigitBlock toLowerWord(DigitBlock block) { return block | (block & kEachByte * 0x40) >> 1; }

// A word in lower case and its length, which stands in a byte before it.
constexpr DigitBlock wordSignature(DigitBlock word, std::size_t size) { return toLowerWord(word) | size; }

constexpr DigitBlock wordSignatureOf(std::string_view word) {
  DigitBlock block = 0;
  for (const char c : word) block = block >> 8 | DigitBlock{static_cast<unsigned char>(c)} << 56;
  return wordSignature(block, word.size());
}

inline constexpr DigitBlock kTrueWord = wordSignatureOf("true");
inline constexpr DigitBlock kFalseWord = wordSignatureOf("false");

// Which of the two usual words it is decides no jump.
inline Parsed<bool> parseBoolean(PaddedText text) {
  if (!text.empty() && text.size() <= kLongestBoolean) {
    const DigitBlock given = wordSignature(loadFew(text), text.size());
    const bool value = given == kTrueWord;
    if (static_cast<int>(value) | static_cast<int>(given == kFalseWord)) return {value};
  }
  return parseBoolean(std::string_view(text));
}

}  // namespace kyv_internal
