#pragma once

// English names of months and weekdays. The first three letters of a name are its abbreviation.

#include <array>
#include <cstddef>
#include <string_view>

namespace kyv_internal {

inline constexpr std::size_t kAbbreviation = 3;

inline constexpr std::array<std::string_view, 12> kMonthNames = {"January",   "February", "March",    "April",
                                                                 "May",       "June",     "July",     "August",
                                                                 "September", "October",  "November", "December"};

inline constexpr std::array<std::string_view, 7> kWeekdayNames = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                                  "Thursday", "Friday", "Saturday"};

}  // namespace kyv_internal
