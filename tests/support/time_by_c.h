#pragma once

// Times by "%" formats as the C library reads and prints them, in its "C" locale and in UTC: what a compiled format is
// compared with.

#include <array>
#include <cctype>
#include <cstdint>
#include <ctime>
#include <optional>
#include <string>

#include "datatypes/percent_format.h"

namespace kyv_test {

inline locale_t cLocale() {
  static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
  return locale;
}

// From the epoch on; nothing where the text does not match but for white space at its end.
inline std::optional<std::tm> fieldsByC(const std::string& text, const std::string& format) {
  std::tm time{};
  time.tm_mday = 1;
  time.tm_year = 70;
  time.tm_wday = 4;
  const char* rest = strptime_l(text.c_str(), format.c_str(), &time, cLocale());
  while (rest != nullptr && std::isspace(static_cast<unsigned char>(*rest)) != 0) ++rest;
  return rest == nullptr || *rest != '\0' ? std::nullopt : std::optional(time);
}

// The epoch's text for a time beyond the calendar.
inline std::string textByC(std::int64_t seconds, const std::string& format) {
  constexpr std::int64_t kEpoch = 0;
  std::array<char, kyv_internal::kMaxFormattedText + 1> buffer;
  std::tm time{};
  if (gmtime_r(&seconds, &time) == nullptr) gmtime_r(&kEpoch, &time);
  return {buffer.data(), strftime_l(buffer.data(), buffer.size(), format.c_str(), &time, cLocale())};
}

}  // namespace kyv_test
