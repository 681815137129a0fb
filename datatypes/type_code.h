#pragma once

// The bit fields of a type code, and the kinds of types that conversions tell apart.

#include <cstdint>

namespace kyv_internal {

// Types that are stored and written alike are one kind: all money types are Money.
enum class Kind : std::uint8_t {
  Int16,
  Integer,
  Long,
  Float,
  Date,
  String,
  Money,
  Timestamp,
  Boolean,
  Interval,
  BigDateTime,
  Binary,
  Time,
  FixedDecimal,
  None,  // stores nothing and has no text
};

constexpr unsigned int baseOf(unsigned int type) { return type & 0xFF; }
constexpr unsigned int scaleOf(unsigned int type) { return (type >> 8) & 0x3F; }
constexpr unsigned int precisionOf(unsigned int type) { return (type >> 14) & 0x3FFF; }

}  // namespace kyv_internal
