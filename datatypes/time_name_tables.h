#pragma once

// The names that format models print and read, in each case that a token may be written in.

#include <span>
#include <string_view>

#include "datatypes/format_tokens.h"

namespace kyv_internal {

struct NameSlot {
  char text[32];  // NUL-terminated

  std::string_view view() const { return text; }
};

// The names of a token: of MONTH, MON and RM the 12 months from January, of DAY and DY the 7 weekdays from Sunday, of
// AM and PM both halves of the day. Empty for any other token.
std::span<const NameSlot> namesOf(ModelToken token, DataTypes::TimeFormatParser::Case letters);

}  // namespace kyv_internal
