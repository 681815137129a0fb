#pragma once

// Prints a time by the steps of a format, as the C library's strftime does in the "C" locale and in UTC.

#include <cstddef>
#include <cstdint>

#include "datatypes/percent_steps.h"

namespace kyv_internal {

// Writes at most kMaxFormattedText characters and no terminator; returns their number, 0 when they would be more.
// REQUIRES: the seconds have a calendar year.
std::size_t printPercentSteps(const PercentSteps& format, std::int64_t seconds, char* out);

}  // namespace kyv_internal
