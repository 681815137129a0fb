#pragma once

// The tokens of a format model, and the one way to find them. The longest spelling wins; a character that begins none
// is a literal. The whole language is the table in format_tokens.cpp.

#include <cstdint>
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
  std::string_view spelling;  // in upper case; '#' is any digit but 0
  ModelToken token;
  // Hands the token to a parser. The letters are those of the model, as long as the spelling.
  void (*call)(DataTypes::TimeFormatParser& parser, std::string_view letters);
};

struct FoundToken {
  const TokenRow& row;
  std::string_view letters;  // as written in the model
};

// The token that a text of at least one byte begins with.
FoundToken firstToken(std::string_view text);
// The same for text within a quotation.
FoundToken firstLiteral(std::string_view text);

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
    const FoundToken found = state == kInQuotation ? firstLiteral(model) : firstToken(model);
    model.remove_prefix(found.letters.size());
    if (!take(found)) return false;
  }
  return true;
}

}  // namespace kyv_internal
