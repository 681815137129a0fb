#include "datatypes/format_tokens.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>

#include "datatypes/digit_block.h"

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

// By first letter; of two spellings that begin alike the longer first. What a spelling leaves over begins the next
// token: "DAM" is D and AM, "SSSS" is SS twice, "MONTZH" is MON and TZH, "HOUR" is four literals.
constexpr TokenRow kRows[] = {
    {"AM", kAM, Calls::name<&Parser::OnFieldAM>},

    {"DDD", kDDD, Calls::field<&Parser::OnFieldDDD>},
    {"DD", kDD, Calls::field<&Parser::OnFieldDD>},
    {"DY", kDY, Calls::name<&Parser::OnFieldDY>},
    {"DAYS", kDAYS, Calls::field<&Parser::OnFieldDAYS>},
    {"DAY", kDAY, Calls::name<&Parser::OnFieldDAY>},
    {"D", kD, Calls::field<&Parser::OnFieldD>},

    {"FF#", kFFn, Calls::fraction},
    {"FF", kFF, Calls::field<&Parser::OnFieldFF>},
    {"FM", kFM, Calls::field<&Parser::OnFieldFM>},
    {"FX", kFX, Calls::nothing},

    {"HH24", kHH24, Calls::field<&Parser::OnFieldHH24>},
    {"HH12", kHH12, Calls::field<&Parser::OnFieldHH12>},
    {"HH", kHH, Calls::field<&Parser::OnFieldHH>},
    {"HOURS", kHOURS, Calls::field<&Parser::OnFieldHOURS>},

    {"MM", kMM, Calls::field<&Parser::OnFieldMM>},
    {"MINUTES", kMINUTES, Calls::field<&Parser::OnFieldMINUTES>},
    {"MIC", kMIC, Calls::field<&Parser::OnFieldMIC>},
    {"MI", kMI, Calls::field<&Parser::OnFieldMI>},
    {"MONTH", kMONTH, Calls::name<&Parser::OnFieldMONTH>},
    {"MON", kMON, Calls::name<&Parser::OnFieldMON>},
    {"MS", kMS, Calls::field<&Parser::OnFieldMS>},

    {"PM", kPM, Calls::name<&Parser::OnFieldPM>},

    {"Q", kQ, Calls::field<&Parser::OnFieldQ>},

    {"RM", kRM, Calls::name<&Parser::OnFieldRM>},
    {"RRRR", kRRRR, Calls::field<&Parser::OnFieldRRRR>},
    {"RR", kRR, Calls::field<&Parser::OnFieldRR>},

    {"SSSSS", kSSSSS, Calls::field<&Parser::OnFieldSSSSS>},
    {"SS", kSS, Calls::field<&Parser::OnFieldSS>},
    {"SECONDS", kSECONDS, Calls::field<&Parser::OnFieldSECONDS>},
    {"SE", kSE, Calls::field<&Parser::OnFieldSE>},

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

constexpr bool inOrder() {
  for (std::size_t i = 1; i < std::size(kRows); ++i) {
    const std::string_view spelling = kRows[i].spelling;
    if (spelling.front() < kRows[i - 1].spelling.front()) return false;
    for (std::size_t before = 0; before < i; ++before) {
      if (spelling.starts_with(kRows[before].spelling)) return false;
    }
  }
  return true;
}
static_assert(inOrder(), "rows stand by first letter, and behind no row that their spelling begins with");

// Where each letter's rows begin, by its place in the alphabet; they end where the next letter's begin.
constexpr auto kFirstRow = [] {
  std::array<const TokenRow*, 'Z' - 'A' + 3> first{};
  for (std::size_t place = 1; place < first.size(); ++place) {
    const char letter = static_cast<char>('A' + place - 1);
    first[place] =
        std::ranges::find_if(kRows, [letter](const TokenRow& row) { return row.spelling.front() >= letter; });
  }
  return first;
}();

// Of a letter in either case.
std::size_t placeInAlphabet(char letter) { return letter & 0x1F; }

constexpr bool isLower(char c) { return c >= 'a' && c <= 'z'; }
constexpr bool isUpper(char c) { return c >= 'A' && c <= 'Z'; }

constexpr std::uint64_t everyByte(std::uint64_t byte) { return byte * kEachByte; }

// Eight letters at once: a byte's high bit says that it is a lower-case letter, whose bit 5 goes.
std::uint64_t toUpper(std::uint64_t letters) {
  const std::uint64_t low = letters & everyByte(0x7F);
  const std::uint64_t fromA = low + everyByte(0x80 - 'a');
  const std::uint64_t beyondZ = low + everyByte(0x7F - 'z');
  const std::uint64_t lower = fromA & ~beyondZ & ~letters & everyByte(0x80);
  return letters ^ (lower >> 2);
}

// The first letters of a text in upper case, the first in the lowest byte, and zeros where it ends.
std::uint64_t firstLetters(std::string_view text) {
  if (text.size() >= kBlockDigits) return toUpper(loadWord<std::uint64_t>(text.data()));
  return toUpper(loadFew(text) >> 8 * (kBlockDigits - text.size()));
}

// Of a text that begins with FF.
bool isFraction(std::string_view text) { return text.size() > 2 && text[2] >= '1' && text[2] <= '9'; }

}  // namespace

constexpr TokenRow kLiteralRow = {"#", kLiteral, Calls::literal};

std::span<const TokenRow> tokenRows() { return kRows; }

const TokenRow& firstToken(std::string_view text) {
  const std::size_t place = placeInAlphabet(text.front());
  const std::uint64_t word = firstLetters(text);
  for (const TokenRow* row = kFirstRow[place]; row != kFirstRow[place + 1]; ++row) {
    if ((word & row->mask) == row->word && (row->token != kFFn || isFraction(text))) return *row;
  }
  return kLiteralRow;
}

Parser::Case caseOf(std::string_view letters) {
  if (std::ranges::all_of(letters, isUpper)) return Parser::kUpper;
  return std::ranges::all_of(letters, isLower) ? Parser::kLower : Parser::kCapitalised;
}

}  // namespace kyv_internal
