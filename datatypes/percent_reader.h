#pragma once

// Reads a text by the steps of a format, as the C library's strptime does in the "C" locale. Where the library leaves
// its tables or contradicts its description this differs: a day outside its year ("%Y %j" of "2023 366") counts on into
// the next year, "%s" counts in UTC, and the modifiers E and O never change what a conversion reads.

#include <ctime>
#include <optional>
#include <span>
#include <string_view>

#include "datatypes/percent_steps.h"

namespace kyv_internal {

// The fields of a text that matches to its end, white space left over aside. What the format does not name stays at
// 1970-01-01 00:00:00. The fields need not make a date: 30 February is kept as read.
std::optional<std::tm> readPercentSteps(std::span<const Step> steps, std::string_view text);

}  // namespace kyv_internal
