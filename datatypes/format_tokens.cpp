#include "datatypes/format_tokens.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>

namespace kyv_internal {

using Parser = DataTypes::TimeFormatParser;

namespace {

// How each kind of token reaches its operation.
struct Calls {
  template <void (Parser::*operation)()>
  static void field(Parser& parser, std::string_view) {
    (parser.*operation)();
  }

  template <void (Parser::*operation)(Parser::Case)>
  static void name(Parser& parser, std::string_view letters) {
    (parser.*operation)(caseOf(letters));
  }

  static void fraction(Parser& parser, std::string_view letters) { parser.OnFieldFFn(letters.back()); }

  static void literal(Parser& parser, std::string_view letters) { parser.OnChar(letters.front()); }

  static void nothing(Parser&, std::string_view) {}
};

using enum ModelToken;

// By first letter, the longest spelling first. What a spelling leaves over begins the next token: "DAM" is D and AM,
// "SSSS" is SS twice, "MONTZH" is MON and TZH, "HOUR" is four literals.
constexpr TokenRow kRows[] = {
    {"AM", kAM, Calls::name<&Parser::OnFieldAM>},

    {"DAYS", kDAYS, Calls::field<&Parser::OnFieldDAYS>},
    {"DAY", kDAY, Calls::name<&Parser::OnFieldDAY>},
    {"DDD", kDDD, Calls::field<&Parser::OnFieldDDD>},
    {"DD", kDD, Calls::field<&Parser::OnFieldDD>},
    {"DY", kDY, Calls::name<&Parser::OnFieldDY>},
    {"D", kD, Calls::field<&Parser::OnFieldD>},

    {"FF#", kFFn, Calls::fraction},
    {"FF", kFF, Calls::field<&Parser::OnFieldFF>},
    {"FM", kFM, Calls::field<&Parser::OnFieldFM>},
    {"FX", kFX, Calls::nothing},

    {"HOURS", kHOURS, Calls::field<&Parser::OnFieldHOURS>},
    {"HH12", kHH12, Calls::field<&Parser::OnFieldHH12>},
    {"HH24", kHH24, Calls::field<&Parser::OnFieldHH24>},
    {"HH", kHH, Calls::field<&Parser::OnFieldHH>},

    {"MINUTES", kMINUTES, Calls::field<&Parser::OnFieldMINUTES>},
    {"MONTH", kMONTH, Calls::name<&Parser::OnFieldMONTH>},
    {"MIC", kMIC, Calls::field<&Parser::OnFieldMIC>},
    {"MON", kMON, Calls::name<&Parser::OnFieldMON>},
    {"MI", kMI, Calls::field<&Parser::OnFieldMI>},
    {"MM", kMM, Calls::field<&Parser::OnFieldMM>},
    {"MS", kMS, Calls::field<&Parser::OnFieldMS>},

    {"PM", kPM, Calls::name<&Parser::OnFieldPM>},

    {"Q", kQ, Calls::field<&Parser::OnFieldQ>},

    {"RRRR", kRRRR, Calls::field<&Parser::OnFieldRRRR>},
    {"RM", kRM, Calls::name<&Parser::OnFieldRM>},
    {"RR", kRR, Calls::field<&Parser::OnFieldRR>},

    {"SECONDS", kSECONDS, Calls::field<&Parser::OnFieldSECONDS>},
    {"SSSSS", kSSSSS, Calls::field<&Parser::OnFieldSSSSS>},
    {"SE", kSE, Calls::field<&Parser::OnFieldSE>},
    {"SS", kSS, Calls::field<&Parser::OnFieldSS>},

    {"TZD", kTZD, Calls::field<&Parser::OnFieldTZD>},
    {"TZH", kTZH, Calls::field<&Parser::OnFieldTZH>},
    {"TZM", kTZM, Calls::field<&Parser::OnFieldTZM>},
    {"TZR", kTZR, Calls::field<&Parser::OnFieldTZR>},
    {"TZ", kLiteral, Calls::literal},  // Required as is: the literal T alone, the Z is dropped.

    {"WW", kWW, Calls::field<&Parser::OnFieldWW>},
    {"W", kW, Calls::field<&Parser::OnFieldW>},

    {"YYYY", kYYYY, Calls::field<&Parser::OnFieldYYYY>},
    {"YYY", kYYY, Calls::field<&Parser::OnFieldYYY>},
    {"YY", kYY, Calls::field<&Parser::OnFieldYY>},
    {"Y", kY, Calls::field<&Parser::OnFieldY>},
};

constexpr TokenRow kLiteralRow = {"", kLiteral, Calls::literal};

static_assert(std::ranges::is_sorted(kRows,
                                     [](const TokenRow& a, const TokenRow& b) {
                                       const char first = a.spelling.front(), second = b.spelling.front();
                                       return first != second ? first < second : a.spelling.size() > b.spelling.size();
                                     }),
              "rows stand by first letter, the longest spelling first");

constexpr std::size_t kLetters = 26;

// Where each letter's rows begin; they end where the next letter's begin.
constexpr auto kFirstRow = [] {
  std::array<std::uint8_t, kLetters + 1> first{};
  for (std::size_t letter = 0; letter <= kLetters; ++letter) {
    first[letter] = static_cast<std::uint8_t>(std::ranges::count_if(
        kRows, [letter](const TokenRow& row) { return row.spelling.front() < static_cast<char>('A' + letter); }));
  }
  return first;
}();

constexpr bool isLower(char c) { return c >= 'a' && c <= 'z'; }
constexpr bool isUpper(char c) { return c >= 'A' && c <= 'Z'; }
constexpr char toUpper(char c) { return isLower(c) ? static_cast<char>(c - 'a' + 'A') : c; }

bool matches(char spelled, char written) {
  return spelled == '#' ? written >= '1' && written <= '9' : spelled == toUpper(written);
}

bool beginsWith(std::string_view text, std::string_view spelling) {
  return text.size() >= spelling.size() && std::equal(spelling.begin(), spelling.end(), text.begin(), matches);
}

}  // namespace

FoundToken firstLiteral(std::string_view text) { return {kLiteralRow, text.substr(0, 1)}; }

FoundToken firstToken(std::string_view text) {
  const auto letter = static_cast<unsigned char>(toUpper(text.front()) - 'A');
  if (letter >= kLetters) return firstLiteral(text);
  for (const TokenRow* row = kRows + kFirstRow[letter]; row != kRows + kFirstRow[letter + 1]; ++row) {
    if (beginsWith(text, row->spelling)) return {*row, text.substr(0, row->spelling.size())};
  }
  return firstLiteral(text);
}

Parser::Case caseOf(std::string_view letters) {
  if (std::ranges::all_of(letters, isUpper)) return Parser::kUpper;
  return std::ranges::all_of(letters, isLower) ? Parser::kLower : Parser::kCapitalised;
}

}  // namespace kyv_internal
