#pragma once

// The tokens of a format model, and the one way to find them. The longest spelling wins; a character that begins none
// is a literal. The whole language is the table in format_tokens.cpp.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "kyv/time_format_parser.h"

namespace kyv_internal {

enum class ModelToken : std::uint8_t {
  kLiteral,
  kFM,
  kFX,
  kAM,
  kPM,
  kD,
  kDD,
  kDDD,
  kDAY,
  kDY,
  kHH,
  kHH12,
  kHH24,
  kMI,
  kMIC,
  kMM,
  kMON,
  kMONTH,
  kMS,
  kQ,
  kRM,
  kRR,
  kRRRR,
  kSE,
  kSS,
  kSSSSS,
  kFF,
  kFFn,
  kTZD,
  kTZH,
  kTZM,
  kTZR,
  kW,
  kWW,
  kY,
  kYY,
  kYYY,
  kYYYY,
  kDAYS,
  kHOURS,
  kMINUTES,
  kSECONDS
};

struct TokenRow {
  // Hands the token to a parser. The letters are those of the model, as long as the spelling.
  using Call = void (*)(DataTypes::TimeFormatParser& parser, std::string_view letters);

  constexpr TokenRow(std::string_view spelledSo, ModelToken itsToken, Call itsCall)
      : spelling(spelledSo), token(itsToken), call(itsCall) {
    for (std::size_t i = 0; i < spelling.size(); ++i) {
      if (spelling[i] == kAnyDigit) continue;
      word |= std::uint64_t{static_cast<unsigned char>(spelling[i])} << 8 * i;
      mask |= std::uint64_t{0xFF} << 8 * i;
    }
  }

  static constexpr char kAnyDigit = '#';  // but 0; it ends a spelling

  std::string_view spelling;  // in upper case, at most eight letters
  ModelToken token;
  Call call;
  std::uint64_t word = 0;  // the spelling's letters, the first in the lowest byte
  std::uint64_t mask = 0;  // their places
};

// All spellings, of which "TZ" alone is a literal.
std::span<const TokenRow> tokenRows();

struct FoundToken {
  const TokenRow& row;
  std::string_view letters;  // as written in the model
};

// The row of every character that is no token: one of any spelling.
extern const TokenRow kLiteralRow;

// Letters do.
inline bool mayBeginToken(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

// The row of the token that a text begins with; the text has all its letters. REQUIRES: the first is a letter.
const TokenRow& firstToken(std::string_view text);

// How a name is written, by the letters of its token.
DataTypes::TimeFormatParser::Case caseOf(std::string_view letters);

inline constexpr int kBetweenTokens = 0;
inline constexpr int kInQuotation = 1;

// Hands the tokens of a model to `take(const FoundToken&)` until it returns false, and returns what it returned last.
// The state is kInQuotation afterwards when a quotation does not end.
template <class Take>
bool scanModel(std::string_view model, int& state, Take take) {
  while (!model.empty()) {
    if (model.front() == '"') {
      state = state == kInQuotation ? kBetweenTokens : kInQuotation;
      model.remove_prefix(1);
      continue;
    }
    const bool literal = state == kInQuotation || !mayBeginToken(model.front());
    const TokenRow& row = literal ? kLiteralRow : firstToken(model);
    const std::string_view letters(model.data(), row.spelling.size());
    model.remove_prefix(letters.size());
    if (!take(FoundToken{row, letters})) return false;
  }
  return true;
}

}  // namespace kyv_internal
