#pragma once

// The functions that take a date and time model, by type: what a compiled model is compared with.

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "kyv/time_from_string.h"
#include "kyv/time_model.h"
#include "kyv/time_to_string.h"

namespace kyv_test {

inline constexpr std::array kTimeTypes = {kyv::TimeType::kDate, kyv::TimeType::kTime, kyv::TimeType::kTimestamp,
                                          kyv::TimeType::kBigDateTime};

inline constexpr long unitsPerSecond(kyv::TimeType type) {
  return type == kyv::TimeType::kBigDateTime ? 1'000'000 : type == kyv::TimeType::kTimestamp ? 1000 : 1;
}

// Empty also for a failure, as the functions have it.
inline std::string printedByFunction(kyv::TimeType type, long value, const std::string& model, const char* zone) {
  constexpr decltype(&DataTypes::DateToString) kPrint[] = {
      DataTypes::DateToString, DataTypes::DateToString, DataTypes::TimestampToString, DataTypes::BigDateTimeToString};
  std::string text;
  kPrint[static_cast<int>(type)](value, model.c_str(), zone, text);
  return text;
}

inline std::optional<std::int64_t> readByFunction(kyv::TimeType type, const std::string& text,
                                                  const std::string& model) {
  constexpr decltype(&DataTypes::DateFromString) kRead[] = {DataTypes::DateFromString, DataTypes::TimeFromString,
                                                            DataTypes::TimestampFromString,
                                                            DataTypes::BigDateTimeFromString};
  long value = 0;
  if (!kRead[static_cast<int>(type)](text.c_str(), model.c_str(), value)) return std::nullopt;
  return value;
}

// By a compiled model, in a room of just that size.
inline std::string printedByModel(const kyv::TimeModel& model, kyv::TimeType type, std::int64_t value) {
  std::string room(model.maxLength(), '\0');
  return std::string(model.format(type, value, room).value_or(""));
}

}  // namespace kyv_test
