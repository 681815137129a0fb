#pragma once

// Date, time, timestamp and bigdatetime values to and from text.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "datatypes/parsed.h"
#include "datatypes/percent_format.h"

namespace kyv_internal {

// Text to value with a row's format: date and time in seconds, timestamp in milliseconds, bigdatetime in microseconds.
Parsed<std::int64_t> parseDate(std::string_view text, const PercentFormat& format);
Parsed<std::int64_t> parseTime(std::string_view text, const PercentFormat& format);
Parsed<std::int64_t> parseTimestamp(std::string_view text, const PercentFormat& format);
Parsed<std::int64_t> parseBigDateTime(std::string_view text, const PercentFormat& format);

// What follows a date-time when its fraction is zero.
enum class ZeroFraction : bool { Printed, Omitted };

// Value to text with a row's format. `out` has room for kMaxFormattedText characters; no terminator is written. They
// return the number of characters.
std::size_t printDate(std::int64_t seconds, const PercentFormat& format, char* out);  // for times too
std::size_t printTimestamp(std::int64_t millis, const PercentFormat& format, ZeroFraction zero, char* out);
std::size_t printBigDateTime(std::int64_t micros, const PercentFormat& format, ZeroFraction zero, char* out);

// The default texts "2009-02-13 23:31:30[.123[456]]" and "23:31:30", with "+00" behind when asked for. `out` has room
// for kMaxDefaultTimeText characters; no terminator. They return the end.
enum class ZoneSuffix : bool { No, Yes };
inline constexpr std::size_t kMaxDefaultTimeText = 48;
char* printDefaultDate(std::int64_t seconds, ZoneSuffix zone, char* out);
char* printDefaultTime(std::int64_t seconds, ZoneSuffix zone, char* out);
char* printDefaultTimestamp(std::int64_t millis, ZoneSuffix zone, char* out);
char* printDefaultBigDateTime(std::int64_t micros, ZoneSuffix zone, char* out);

}  // namespace kyv_internal
