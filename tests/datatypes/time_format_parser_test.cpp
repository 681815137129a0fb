#include "kyv/time_format_parser.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "tests/support/token_trace.h"

namespace {

using kyv_test::TokenTrace;

// The calls for a model that is scanned to its end.
std::string tokensOf(std::string_view model) {
  constexpr std::string_view kEnd = "end done?";
  std::string calls = TokenTrace::of(model);
  EXPECT_TRUE(calls.ends_with(kEnd)) << model << ": " << calls;
  calls.resize(calls.size() - kEnd.size());
  if (!calls.empty()) calls.pop_back();
  return calls;
}

struct Case {
  std::string_view model;
  std::string_view tokens;
};

TEST(TimeFormatParser, TakesTheLongestGroupAndScansTheRestAfresh) {
  using namespace std::string_view_literals;
  for (const auto& [model, tokens] : {
           Case{"", ""},
           {"YYYY-MM-DD HH24:MI:SS.FF3", "YYYY '-' MM '-' DD ' ' HH24 ':' MI ':' SS '.' FF:3"},
           {"A", "'A'"},
           {"AMPMAP", "AM:upper PM:upper 'A' 'P'"},
           {"DYDDDDDDDAYDAYSDDDD", "DY:upper DDD DDD DAY:upper DAYS DDD D"},
           {"D DD DDY DDAY", "D ' ' DD ' ' DD Y ' ' DD 'A' Y"},
           {"DAMDADY", "D AM:upper D 'A' DY:upper"},
           {"FF1FF9FF0FFFFxf", "FF:1 FF:9 FF '0' FF FF 'x' 'f'"},
           {"FFFFMFMF", "FF FF 'M' FM:on 'F'"},
           {"HHHH12HH24HH1HH2HH25", "HH HH12 HH24 HH '1' HH '2' HH '2' '5'"},
           {"HOURSHOURhouHO", "HOURS 'H' 'O' 'U' 'R' 'h' 'o' 'u' 'H' 'O'"},
           {"HOURR HOHH", "'H' 'O' 'U' RR ' ' 'H' 'O' HH"},
           {"MIMICMINUTESMINUTEMINMM", "MI MIC MINUTES MI 'N' 'U' 'T' 'E' MI 'N' MM"},
           {"MINUTZH MINUTEDD", "MI 'N' 'U' TZH ' ' MI 'N' 'U' 'T' 'E' DD"},
           {"MONMONTHMONTMONTZHMSM", "MON:upper MONTH:upper MON:upper 'T' MON:upper TZH MS 'M'"},
           {"MOMM MO", "'M' 'O' MM ' ' 'M' 'O'"},
           {"QQ", "Q Q"},
           {"RMRRRRRRRMR", "RM:upper RRRR RR RM:upper 'R'"},
           {"RRRW", "RR 'R' W"},
           {"SESECONDSSECONDSECXSECONX", "SE SECONDS SECONDS 'E' 'C' 'X' SE 'C' 'O' 'N' 'X'"},
           {"SECAM SECOND", "SE 'C' AM:upper ' ' SE 'C' 'O' 'N' D"},
           {"SSSSE", "SS SS 'E'"},
           {"SSSE SSSSS SSSSSS", "SS SE ' ' SSSSS ' ' SSSSS 'S'"},
           {"SSSS SSS S", "SS SS ' ' SS 'S' ' ' 'S'"},
           {"TZDTZHTZMTZR TT", "TZD TZH TZM TZR ' ' 'T' 'T'"},
           {"WWWW W", "WW WW ' ' W"},
           {"YYYYYY YYY Y", "YYYY YY ' ' YYY ' ' Y"},
           {"09 xZ/.,_", "'0' '9' ' ' 'x' 'Z' '/' '.' ',' '_'"},
           {"\xC3\xA9\x10\x11\xFF", "'\xC3' '\xA9' '\x10' '\x11' '\xFF'"},
           {"D\0D"sv, "D '\0' D"sv},
           {"#FF#", "'#' FF '#'"},
       }) {
    EXPECT_EQ(tokensOf(model), tokens) << model;
  }
}

TEST(TimeFormatParser, DropsTheZAfterATThatBeginsNoZone) {
  for (const auto& [model, tokens] :
       {Case{"TZX", "'T' 'X'"}, {"tZ", "'t'"}, {"TZTZH", "'T' TZH"}, {"TZZ", "'T' 'Z'"}, {"\"TZX\"", "'T' 'Z' 'X'"}}) {
    EXPECT_EQ(tokensOf(model), tokens) << model;
  }
}

TEST(TimeFormatParser, LettersOfAnyCaseFormAGroupAndThoseOfNamesCount) {
  for (const auto& [model, tokens] : {
           Case{"yyyy Dd hH24 mIc ff3 Tzh", "YYYY ' ' DD ' ' HH24 ' ' MIC ' ' FF:3 ' ' TZH"},
           {"AM am Am aM", "AM:upper ' ' AM:lower ' ' AM ' ' AM"},
           {"PM pm pM", "PM:upper ' ' PM:lower ' ' PM"},
           {"DY dy Dy", "DY:upper ' ' DY:lower ' ' DY"},
           {"DAY day Day daY", "DAY:upper ' ' DAY:lower ' ' DAY ' ' DAY"},
           {"MON mon Mon MONt", "MON:upper ' ' MON:lower ' ' MON ' ' MON:upper 't'"},
           {"MONTH month Month MONTh", "MONTH:upper ' ' MONTH:lower ' ' MONTH ' ' MONTH"},
           {"RM rm Rm", "RM:upper ' ' RM:lower ' ' RM"},
           {"hO mO rRr", "'h' 'O' ' ' 'm' 'O' ' ' RR 'r'"},
       }) {
    EXPECT_EQ(tokensOf(model), tokens) << model;
  }
}

TEST(TimeFormatParser, CopiesWhatIsQuotedAndFailsAtItsEndWhenAQuotationIsOpen) {
  for (const auto& [model, calls] : {
           Case{"\"\"", "end done?"},
           {"\"DD\"DD\"\"\"a\"", "'D' 'D' DD 'a' end done?"},
           {"D\"\"D", "D D end done?"},  // no group reaches across a quotation
           {"\"", "end failed"},
           {"DD\"DD", "DD 'D' 'D' end failed"},
       }) {
    EXPECT_EQ(TokenTrace::of(model), calls) << model;
  }
}

TEST(TimeFormatParser, StopsAtTheOperationThatFails) {
  EXPECT_EQ(TokenTrace::of("YYYYMMDD", "MM"), "YYYY MM failed");
  EXPECT_EQ(TokenTrace::of("YYYY-MM", "'-'"), "YYYY '-' failed");
  EXPECT_EQ(TokenTrace::of("DD\"ab\"", "'a'"), "DD 'a' failed");
  EXPECT_EQ(TokenTrace::of("MM", "end"), "MM end failed");
  EXPECT_EQ(TokenTrace::of("MM", {}, false), "MM end done? failed");
  EXPECT_EQ(TokenTrace::of("MM\"", {}, false), "MM end failed");
}

TEST(TimeFormatParser, SwitchesModesAndKeepsItsState) {
  struct StateCase {
    std::string_view model, state;
  };
  EXPECT_EQ(TokenTrace().scannerState(), "000ok");
  for (const auto& [model, state] : {StateCase{"FM", "010ok"},
                                     {"FMFMfm", "010ok"},
                                     {"fmFM", "000ok"},
                                     {"fX", "001ok"},
                                     {"FXFX", "000ok"},
                                     {"FMFXFM", "001ok"},
                                     {"\"FM", "100ok"},
                                     {"FF7", "000ok7"}}) {
    TokenTrace trace;
    trace.Parse(model.data(), model.size());
    EXPECT_EQ(trace.scannerState(), state) << model;
  }
}

}  // namespace
