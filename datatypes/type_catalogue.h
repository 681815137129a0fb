#pragma once

// The type catalogue: one row per base type, from which every name table, size table and classification is derived.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "datatypes/digit_block.h"
#include "datatypes/money_text.h"
#include "datatypes/type_code.h"
#include "kyv/data_types.h"

namespace kyv_internal {

// What a type's class functions answer.
enum TypeClass : std::uint8_t { kNoClass = 0, kNumeric = 1, kIntegerLike = 2, kDateLike = 4 };

inline constexpr int kLegacyPlaces = -1;  // as many decimal places as the process setting says

struct TypeRow {
  unsigned int base;
  Kind kind;
  const char* name;
  const char* upperName;
  const char* legacyName;
  const char* legacyUpperName;
  const char* constantName;
  unsigned char size;    // bytes in a record; 0 where the value decides, or nothing is stored
  std::uint8_t classes;  // of TypeClass
  unsigned char digits;  // decimal digits that hold every value, decimal places included; 0: not counted in promotion
  signed char places;    // decimal places of a money type
};

namespace type_rows {

constexpr TypeRow row(unsigned int base, Kind kind, const char* name, const char* upper, const char* constant,
                      unsigned char size, int classes, unsigned char digits) {
  return {base, kind, name, upper, name, upper, constant, size, static_cast<std::uint8_t>(classes), digits, 0};
}

constexpr TypeRow legacyNamed(TypeRow row, const char* legacy, const char* legacyUpper) {
  row.legacyName = legacy;
  row.legacyUpperName = legacyUpper;
  return row;
}

constexpr TypeRow moneyRow(unsigned int base, const char* name, const char* upper, int places) {
  TypeRow money = row(base, Kind::Money, name, upper, "&moneyConst", 8, kNumeric, 19);
  money.places = static_cast<signed char>(places);
  return money;
}

}  // namespace type_rows

// Required as is: the undefined type counts as numeric, integer-like and date-like, int16 has no digits in promotion,
// and timestamp and time are not date-like.
inline constexpr std::array<TypeRow, DataTypes::kTypeCount> kTypeRows = [] {
  using namespace type_rows;
  return std::array<TypeRow, DataTypes::kTypeCount>{{
      row(0, Kind::Int16, "int16", "INT16", "&intConst", 2, kNumeric | kIntegerLike, 0),
      legacyNamed(row(1, Kind::Integer, "integer", "INTEGER", "&intConst", 4, kNumeric | kIntegerLike, 10), "int32",
                  "INT32"),
      legacyNamed(row(2, Kind::Long, "long", "LONG", "&intConst", 8, kNumeric | kIntegerLike, 19), "int64", "INT64"),
      legacyNamed(row(3, Kind::Float, "float", "FLOAT", "&floatConst", 8, kNumeric, 0), "double", "DOUBLE"),
      row(4, Kind::Date, "date", "DATE", "&dateConst", 8, kNumeric | kDateLike, 19),
      row(5, Kind::String, "string", "STRING", "&stringConst", 0, kNoClass, 0),
      row(6, Kind::None, "N/A", "UNKNOWN", "N/A", 0, kNumeric | kIntegerLike | kDateLike, 0),
      moneyRow(7, "money", "MONEY", kLegacyPlaces),
      row(8, Kind::Timestamp, "timestamp", "TIMESTAMP", "&timestampConst", 8, kNumeric, 19),
      row(9, Kind::None, "N/A", "UNKNOWN", "N/A", 0, kNoClass, 0),
      row(10, Kind::Boolean, "boolean", "BOOLEAN", "&boolConst", 1, kNumeric | kIntegerLike, 1),
      moneyRow(11, "money(1)", "MONEY(1)", 1),
      moneyRow(12, "money(2)", "MONEY(2)", 2),
      moneyRow(13, "money(3)", "MONEY(3)", 3),
      moneyRow(14, "money(4)", "MONEY(4)", 4),
      moneyRow(15, "money(5)", "MONEY(5)", 5),
      moneyRow(16, "money(6)", "MONEY(6)", 6),
      moneyRow(17, "money(7)", "MONEY(7)", 7),
      moneyRow(18, "money(8)", "MONEY(8)", 8),
      moneyRow(19, "money(9)", "MONEY(9)", 9),
      moneyRow(20, "money(10)", "MONEY(10)", 10),
      moneyRow(21, "money(11)", "MONEY(11)", 11),
      moneyRow(22, "money(12)", "MONEY(12)", 12),
      moneyRow(23, "money(13)", "MONEY(13)", 13),
      moneyRow(24, "money(14)", "MONEY(14)", 14),
      moneyRow(25, "money(15)", "MONEY(15)", 15),
      row(26, Kind::Interval, "interval", "INTERVAL", "&intervalConst", 8, kNumeric, 19),
      row(27, Kind::BigDateTime, "bigdatetime", "BIGDATETIME", "&bigdatetimeConst", 8, kNumeric | kDateLike, 19),
      row(28, Kind::Binary, "binary", "BINARY", "&binaryConst", 0, kNoClass, 0),
      row(29, Kind::Time, "time", "TIME", "&timeConst", 8, kNumeric, 19),
      row(30, Kind::FixedDecimal, "decimal", "DECIMAL", "&fixeddecimalConst", 24, kNumeric, 0),
  }};
}();

static_assert(
    [] {
      for (unsigned int i = 0; i < kTypeRows.size(); ++i) {
        if (kTypeRows[i].base != i) return false;
      }
      return true;
    }(),
    "each type stands at its own code");

// The row of a type code; a code without a type has the row of code 9, which names and stores nothing.
constexpr const TypeRow& typeRow(unsigned int type) {
  const unsigned int base = baseOf(type);
  return kTypeRows[base < kTypeRows.size() ? base : static_cast<unsigned int>(DataTypes::kUnnamed)];
}

constexpr Kind kindOf(unsigned int type) { return typeRow(type).kind; }
constexpr std::size_t sizeOf(unsigned int type) { return typeRow(type).size; }

// Decimal places and factor of a money type; 0 and 1 for every other type.
inline MoneyScale moneyScale(unsigned int type) {
  const int places = typeRow(type).places;
  if (places == kLegacyPlaces) {
    return {static_cast<int>(DataTypes::g_legacyMoneyPrecision), DataTypes::g_legacyMoneyFactor};
  }
  return {places, static_cast<std::int64_t>(kPowersOfTen[static_cast<std::size_t>(places)])};
}

}  // namespace kyv_internal
