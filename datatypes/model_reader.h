#pragma once

// What the tokens of a format model read from a text. Nothing here scans a model or opens a zone: whoever has tokens
// and a text reads through these functions, one token at a time.

#include <string_view>

#include "datatypes/format_tokens.h"
#include "kyv/time_from_string.h"

namespace kyv_internal {

struct ReadingField {
  ModelToken token;
  DataTypes::TimeFormatParser::Case letters;  // of names
  bool exact;                                 // exact mode: no white space is skipped
  bool fill;                                  // numbers may be short in exact mode, too
};

// Each takes its part from where the input stands, after white space unless in exact mode; false when the part is not
// there.

[[nodiscard]] bool readLiteral(DataTypes::TextInput& input, char literal, bool exact);

// REQUIRES: the token can be read and is no zone's name; nothing was found that it excludes.
[[nodiscard]] bool readField(const ReadingField& field, DataTypes::TextInput& input, DataTypes::FoundTime& found);

constexpr bool readsZoneName(ModelToken token) { return token == ModelToken::kTZR || token == ModelToken::kTZD; }

// The characters that zones' names are made of, as many as there are.
std::string_view readZoneName(DataTypes::TextInput& input, bool exact);

// Whether nothing is left but white space, which is no exception in exact mode.
[[nodiscard]] bool readEnd(DataTypes::TextInput& input, bool exact);

// The year that RR, YYY, YY and Y stand for.
int yearOfDigits(ModelToken token, int digits, int currentYear);

}  // namespace kyv_internal
