#pragma once

// The words for true and false.

#include <string_view>

#include "datatypes/padded_text.h"
#include "datatypes/parsed.h"

namespace kyv_internal {

Parsed<bool> parseBoolean(std::string_view text);
Parsed<bool> parseBoolean(PaddedText text);

}  // namespace kyv_internal
