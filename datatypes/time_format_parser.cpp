#include "kyv/time_format_parser.h"

#include "datatypes/format_tokens.h"

namespace DataTypes {

using kyv_internal::ModelToken;

bool TimeFormatParser::Parse(const char* format, unsigned long length) {
  const auto take = [this](const kyv_internal::FoundToken& found) {
    if (found.row.token == ModelToken::kFX) exactMode = 1 - exactMode;
    if (found.row.token == ModelToken::kFFn) fractionDigit = found.letters.back();
    found.row.call(*this, found.letters);
    return status;
  };
  if (!kyv_internal::scanModel({format, length}, state, take)) return false;
  OnEndOfParse();
  return status && state == kyv_internal::kBetweenTokens && IsDone();
}

void TimeFormatParser::OnFieldFM() { fillMode = 1 - fillMode; }

}  // namespace DataTypes
