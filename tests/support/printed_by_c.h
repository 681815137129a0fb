#pragma once

// What a format model prints, put together by the C library: gmtime_r and a printf format for each number. A slow twin
// of the library's own way.

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>

#include "datatypes/format_tokens.h"
#include "kyv/time_to_string.h"

namespace kyv_test {

using kyv_internal::ModelToken;

struct CTime {
  std::tm clock;  // what clocks of the zone show
  int fraction;   // microseconds
  long micros;    // since 1970
  long shifted;   // to what clocks of the zone show
};

// Nothing for an unknown zone, and where the C library's calendar or 64-bit microseconds end.
inline std::optional<CTime> timeByC(long value, long microsPerUnit, const char* zone) {
  const long units = 1'000'000 / microsPerUnit;
  const long seconds = value / units;
  CTime time{};
  long wall = 0;
  if (__builtin_mul_overflow(value, microsPerUnit, &time.micros)) return std::nullopt;
  if (!DataTypes::toTimeZone(seconds * 1'000'000, "UTC", zone, wall)) return std::nullopt;
  if (!DataTypes::toTimeZone(time.micros, "UTC", zone, time.shifted)) return std::nullopt;
  const std::time_t wallSeconds = wall / 1'000'000;
  if (gmtime_r(&wallSeconds, &time.clock) == nullptr) return std::nullopt;
  time.fraction = static_cast<int>(value % units * microsPerUnit);
  return time;
}

template <class... Values>
std::string printfText(const char* format, Values... values) {
  char text[128];
  return {text, static_cast<std::size_t>(std::snprintf(text, sizeof text, format, values...))};
}

inline long long roundedByC(int fraction, int digits) {
  const double steps[] = {100000, 10000, 1000, 100, 10, 1, 0.1, 0.01, 0.001};
  const int rounded = static_cast<int>(std::floor(fraction / steps[digits - 1] + 0.5) * steps[digits - 1]);
  return digits <= 6 ? rounded / std::lround(std::pow(10, 6 - digits))
                     : rounded * std::lround(std::pow(10, digits - 6));
}

inline std::string withoutZeros(std::string text) {
  while (text.size() > 1 && text.back() == '0') text.pop_back();
  return text;
}

struct NumberFormat {
  ModelToken token;
  const char* format;
  long long (*value)(const CTime&);
};

// The numbers, as "%lld" has them in fill mode.
inline constexpr NumberFormat kNumberFormats[] = {
    {ModelToken::kYYYY, "%04lld",
     [](const CTime& t) -> long long { return static_cast<short>(t.clock.tm_year + 1900LL); }},
    {ModelToken::kYYY, "%03lld", [](const CTime& t) { return (t.clock.tm_year + 1900LL) % 1000; }},
    {ModelToken::kYY, "%02lld", [](const CTime& t) { return (t.clock.tm_year + 1900LL) % 100; }},
    {ModelToken::kY, "%01lld", [](const CTime& t) { return (t.clock.tm_year + 1900LL) % 10; }},
    {ModelToken::kQ, "%01lld", [](const CTime& t) { return t.clock.tm_mon / 3 + 1LL; }},
    {ModelToken::kMM, "%02lld", [](const CTime& t) { return t.clock.tm_mon + 1LL; }},
    {ModelToken::kWW, "%02lld", [](const CTime& t) { return t.clock.tm_yday / 7 + 1LL; }},
    {ModelToken::kW, "%01lld", [](const CTime& t) { return (t.clock.tm_mday - 1) / 7 + 1LL; }},
    {ModelToken::kDDD, "%03lld", [](const CTime& t) { return t.clock.tm_yday + 1LL; }},
    {ModelToken::kDD, "%02lld", [](const CTime& t) { return t.clock.tm_mday + 0LL; }},
    {ModelToken::kD, "%01lld", [](const CTime& t) { return t.clock.tm_wday + 1LL; }},
    {ModelToken::kHH, "%02lld", [](const CTime& t) { return (t.clock.tm_hour + 11) % 12 + 1LL; }},
    {ModelToken::kHH12, "%02lld", [](const CTime& t) { return (t.clock.tm_hour + 11) % 12 + 1LL; }},
    {ModelToken::kHH24, "%02lld", [](const CTime& t) { return t.clock.tm_hour + 0LL; }},
    {ModelToken::kMI, "%02lld", [](const CTime& t) { return t.clock.tm_min + 0LL; }},
    {ModelToken::kSS, "%02lld", [](const CTime& t) { return t.clock.tm_sec + 0LL; }},
    {ModelToken::kSSSSS, "%05lld",
     [](const CTime& t) { return t.clock.tm_hour * 3600LL + t.clock.tm_min * 60 + t.clock.tm_sec; }},
    {ModelToken::kMIC, "%016lld", [](const CTime& t) { return t.micros + 0LL; }},
};

// The tokens whose text is strftime's in some case.
struct NameFormat {
  ModelToken token;
  const char* format;
  int width;
};

inline constexpr NameFormat kNameFormats[] = {
    {ModelToken::kMONTH, "%B", 9}, {ModelToken::kMON, "%b", 0}, {ModelToken::kDAY, "%A", 0},
    {ModelToken::kDY, "%a", 3},    {ModelToken::kAM, "%p", 0},  {ModelToken::kPM, "%p", 0},
};

inline std::string nameByC(const NameFormat& name, std::string_view letters, bool fill, const std::tm& clock) {
  char text[32];
  std::string out(text, std::strftime(text, sizeof text, name.format, &clock));
  const auto letterCase = kyv_internal::caseOf(letters);
  for (std::size_t i = 0; i < out.size(); ++i) {
    const bool upper = letterCase == 1 || (letterCase == 0 && i == 0);
    out[i] = static_cast<char>(upper ? std::toupper(out[i]) : std::tolower(out[i]));
  }
  return printfText("%*s", fill ? 0 : name.width, out.c_str());
}

// Nothing for a token that this twin does not know: Roman numbers, zones, and what cannot be printed.
inline std::optional<std::string> fieldByC(const kyv_internal::FoundToken& found, bool fill, const CTime& time) {
  using enum kyv_internal::ModelToken;
  const auto isIt = [token = found.row.token](const auto& row) { return row.token == token; };
  if (const auto* row = std::ranges::find_if(kNumberFormats, isIt); row != std::end(kNumberFormats)) {
    return printfText(fill ? "%lld" : row->format, row->value(time));
  }
  if (const auto* row = std::ranges::find_if(kNameFormats, isIt); row != std::end(kNameFormats)) {
    return nameByC(*row, found.letters, fill, time.clock);
  }
  switch (found.row.token) {
    case kLiteral:
      return std::string(found.letters.substr(0, 1));
    case kMS:
      return printfText("%ld", time.shifted / 1000);
    case kSE:
      return printfText("%ld", time.shifted / 1'000'000);
    case kFF:
      return fill ? withoutZeros(printfText("%d", time.fraction)) : printfText("%06d", time.fraction);
    case kFFn: {
      const int digits = found.letters.back() - '0';
      const long long rounded = roundedByC(time.fraction, digits);
      return fill ? withoutZeros(printfText("%lld", rounded)) : printfText("%0*lld", digits, rounded);
    }
    default:
      return std::nullopt;
  }
}

// Nothing when the model has a token that this twin does not know, or a quotation without end.
inline std::optional<std::string> printedByC(std::string_view model, const CTime& time) {
  using enum kyv_internal::ModelToken;
  std::string out;
  bool fill = false;
  int state = 0;
  const bool known = kyv_internal::scanModel(model, state, [&](const kyv_internal::FoundToken& found) {
    if (found.row.token == kFM) fill = !fill;
    if (found.row.token == kFM || found.row.token == kFX) return true;
    const std::optional<std::string> text = fieldByC(found, fill, time);
    out += text.value_or("");
    return text.has_value();
  });
  return known && state == 0 ? std::optional(out) : std::nullopt;
}

}  // namespace kyv_test
