#include "kyv/time_from_string.h"

#include <cstring>
#include <optional>

#include "datatypes/found_fields.h"
#include "datatypes/model_reader.h"
#include "datatypes/time_zone.h"

namespace kyv_internal {
namespace {

constexpr std::int64_t kMicrosPerSecond = 1'000'000;

bool readValue(const char* text, const char* model, std::int64_t microsPerUnit, long& result) {
  DataTypes::TimeFormatParser_TimeFromString parser(text, std::strlen(text), result);
  if (!parser.Parse(model, std::strlen(model))) return false;
  const auto value = valueOf(parser.fields, microsPerUnit,
                             [&](std::int64_t seconds) { return secondsInZone(parser.fields.zone, seconds); });
  if (value) result = *value;
  return value.has_value();
}

}  // namespace
}  // namespace kyv_internal

namespace DataTypes {

using Token = kyv_internal::ModelToken;
using CommonParser = TimeFormatParser_CommonFromString;
using Parser = TimeFormatParser_TimeFromString;

CommonParser::TimeFormatParser_CommonFromString(const char* text, unsigned long length) : input{text, length, 0} {}

bool CommonParser::IsDone() { return kyv_internal::readEnd(input, exactMode != 0); }

// Here and below a success leaves the status alone: only a failure says anything about it.
void CommonParser::OnChar(char c) {
  if (!kyv_internal::readLiteral(input, c, exactMode != 0)) status = false;
}

Parser::TimeFormatParser_TimeFromString(const char* text, unsigned long length, long& toFill)
    : TimeFormatParser_CommonFromString(text, length) {
  value = &toFill;
}

void Parser::read(Token token, Case letters) {
  if ((kyv_internal::givenIn(fields) & kyv_internal::claimOf(token).excludes) != 0 ||
      !kyv_internal::readField({token, letters, exactMode != 0, fillMode != 0}, input, fields))
    refuse();
}

void Parser::readZone(Token token) {
  if ((kyv_internal::givenIn(fields) & kyv_internal::claimOf(token).excludes) != 0) return refuse();
  fields.zone = kyv_internal::readZoneName(input, exactMode != 0);
  fields.hasZone = !fields.zone.empty() && kyv_internal::Zone::open(fields.zone.c_str());
  if (!fields.hasZone) refuse();
}

// --- The operations, one line each, in the order of the virtual table -----------------------------------------------

// clang-format off
void Parser::OnFieldAM(Case letters) { read(Token::kAM, letters); }
void Parser::OnFieldPM(Case letters) { read(Token::kPM, letters); }
void Parser::OnFieldD() { refuse(); }
void Parser::OnFieldDD() { read(Token::kDD); }
void Parser::OnFieldDDD() { refuse(); }
void Parser::OnFieldDAY(Case letters) { read(Token::kDAY, letters); }
void Parser::OnFieldDY(Case letters) { read(Token::kDY, letters); }
void Parser::OnFieldHH() { read(Token::kHH); }
void Parser::OnFieldHH12() { read(Token::kHH12); }
void Parser::OnFieldHH24() { read(Token::kHH24); }
void Parser::OnFieldMI() { read(Token::kMI); }
void Parser::OnFieldMIC() { read(Token::kMIC); }
void Parser::OnFieldMM() { read(Token::kMM); }
void Parser::OnFieldMON(Case letters) { read(Token::kMON, letters); }
void Parser::OnFieldMONTH(Case letters) { read(Token::kMONTH, letters); }
void Parser::OnFieldMS() { read(Token::kMS); }
void Parser::OnFieldRM(Case letters) { read(Token::kRM, letters); }
void Parser::OnFieldQ() { refuse(); }
void Parser::OnFieldSS() { read(Token::kSS); }
void Parser::OnFieldSE() { read(Token::kSE); }
void Parser::OnFieldFF() { read(Token::kFF); }
void Parser::OnFieldFFn(char) { refuse(); }
void Parser::OnFieldSSSSS() { read(Token::kSSSSS); }
void Parser::OnFieldTZD() { readZone(Token::kTZD); }
void Parser::OnFieldTZH() { read(Token::kTZH); }
void Parser::OnFieldTZM() { read(Token::kTZM); }
void Parser::OnFieldTZR() { readZone(Token::kTZR); }
void Parser::OnFieldW() { refuse(); }
void Parser::OnFieldWW() { refuse(); }
void Parser::OnFieldRR() { read(Token::kRR); }
void Parser::OnFieldRRRR() { read(Token::kRRRR); }
void Parser::OnFieldY() { read(Token::kY); }
void Parser::OnFieldYY() { read(Token::kYY); }
void Parser::OnFieldYYY() { read(Token::kYYY); }
void Parser::OnFieldYYYY() { read(Token::kYYYY); }
void Parser::OnFieldDAYS() { refuse(); }
void Parser::OnFieldHOURS() { refuse(); }
void Parser::OnFieldMINUTES() { refuse(); }
void Parser::OnFieldSECONDS() { refuse(); }
void Parser::OnEndOfParse() {}

void Parser::refuse() { status = false; }
// clang-format on

bool TimestampFromString(const char* text, const char* format, long& result) {
  return kyv_internal::readValue(text, format, 1000, result);
}

bool DateFromString(const char* text, const char* format, long& result) {
  return kyv_internal::readValue(text, format, kyv_internal::kMicrosPerSecond, result);
}

bool TimeFromString(const char* text, const char* format, long& result) {
  return kyv_internal::readValue(text, format, kyv_internal::kMicrosPerSecond, result);
}

bool BigDateTimeFromString(const char* text, const char* format, long& result) {
  return kyv_internal::readValue(text, format, 1, result);
}

}  // namespace DataTypes
