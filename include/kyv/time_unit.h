#pragma once

// Durations given as a whole amount and a unit: unit names, amounts in seconds or microseconds, and the largest
// amounts.
//
// Threads: every function may be called from any thread at once.

#include <string>

#include "kyv/export.h"

namespace DataTypes {

enum TimeUnit : unsigned int {
  kNoTimeUnit = 0,       // there was no name
  kUnknownTimeUnit = 1,  // there was another name
  kMicrosecondUnit = 2,
  kMillisecondUnit = 3,
  kSecondUnit = 4,
  kMinuteUnit = 5,
  kHourUnit = 6,
  kDayUnit = 7
};

// The unit of a name: "SEC", "SECOND" or "SECONDS" and the like, upper case only. kNoTimeUnit for null.
KYV_EXPORT TimeUnit getTimeUnit(const char* name);

// Whole seconds, rounded down and at most 2147483647. All ones for a negative amount, for more seconds, for a unit
// without seconds, and for microseconds or milliseconds that make no whole second.
KYV_EXPORT unsigned int getSeconds(TimeUnit unit, int amount);

// Stores the amount as microseconds. False, leaving `result` unchanged, for a unit without microseconds and for an
// amount whose magnitude is above the largest.
KYV_EXPORT bool getMicroSeconds(TimeUnit unit, long amount, long& result);

// "SECOND" and the like; "UNKNOWN" for a unit without seconds.
KYV_EXPORT std::string getTimeUnitStr(TimeUnit unit);

// The largest amount whose microseconds fit in 64 bits; 0 for a unit without seconds. As text, and negated as text.
KYV_EXPORT long getTimeUnitMax(TimeUnit unit);
KYV_EXPORT std::string getTimeUnitMaxStr(TimeUnit unit);
KYV_EXPORT std::string getTimeUnitMinStr(TimeUnit unit);

}  // namespace DataTypes
