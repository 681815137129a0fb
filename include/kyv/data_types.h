#pragma once

// The type catalogue: compact type codes for columns, their names, sizes and classes, the common type of two types,
// the result types of decimal arithmetic, and a few process-wide settings.
//
// A type code is a 32-bit word: the base type (0 to 30) in bits 0-7 and, for a decimal, the scale in bits 8-13 and the
// precision in bits 14-27. Functions take any code; what each gives for an unknown one is stated beside it.
//
// Threads: every function may be called from any thread. The settings are plain globals without locking, meant to be
// set once at start, before conversions run.

#include <cstddef>
#include <string>

#include "kyv/export.h"

namespace DataTypes {

enum TypeEnum : unsigned int {
  kInt16 = 0,
  kInteger = 1,
  kLong = 2,
  kFloat = 3,
  kDate = 4,  // seconds since 1970-01-01 00:00:00 UTC
  kString = 5,
  kUndefined = 6,  // no type: what stringToType gives for a name it does not know
  kMoney = 7,      // as many places as the process setting says
  kTimestamp = 8,  // milliseconds since 1970-01-01 00:00:00 UTC
  kUnnamed = 9,    // a code without a name
  kBoolean = 10,
  kMoney1 = 11,  // kMoney1 .. kMoney15: one to fifteen decimal places
  kMoney2 = 12,
  kMoney3 = 13,
  kMoney4 = 14,
  kMoney5 = 15,
  kMoney6 = 16,
  kMoney7 = 17,
  kMoney8 = 18,
  kMoney9 = 19,
  kMoney10 = 20,
  kMoney11 = 21,
  kMoney12 = 22,
  kMoney13 = 23,
  kMoney14 = 24,
  kMoney15 = 25,
  kInterval = 26,
  kBigDateTime = 27,  // microseconds since 1970-01-01 00:00:00 UTC
  kBinary = 28,
  kTime = 29,  // seconds since midnight
  kFixedDecimal = 30
};

// Number of base types, and so of entries in each per-type table.
inline constexpr std::size_t kTypeCount = 31;

// Largest precision and scale of a decimal, and the side of the square decimal name tables.
inline constexpr int kMaxDecimalDigits = 34;
inline constexpr std::size_t kDecimalNameSide = 35;

// --- Names ----------------------------------------------------------------------------------------------------------

// Names of the decimals, at [scale + 35 * precision]: "decimal(10,2)" and "DECIMAL(10,2)". An entry whose scale is
// above its precision is the empty string.
KYV_EXPORT extern const char* const decimalLower[kDecimalNameSide * kDecimalNameSide];
KYV_EXPORT extern const char* const decimalUpper[kDecimalNameSide * kDecimalNameSide];

// The type code of a name such as "long", "int64", "money(3)" or "decimal(10,2)"; names are case-sensitive. kUndefined
// for a name that is not known. Precision and scale of a decimal are not checked: "decimal" alone is decimal(0,0).
KYV_EXPORT unsigned int stringToType(const std::string& name);

// The name of a type: "integer", "float", "decimal(10,2)"; "N/A" for a code without a name. A decimal whose scale is
// above its precision, or either above 34, has the empty name.
KYV_EXPORT std::string typeToString(const unsigned int& type);

// The same in upper case, "UNKNOWN" for a code without a name. The text is static: never free it.
KYV_EXPORT const char* typeToStringUpper(const unsigned int& type);

// The older names: "int32", "int64", "double" for integer, long and float; otherwise as above.
KYV_EXPORT std::string typeToLegacyString(const unsigned int& type);
KYV_EXPORT const char* typeToLegacyStringUpper(const unsigned int& type);

// The name of the constant that stands for a value of the type in generated code: "&intConst"; "N/A" without one.
KYV_EXPORT std::string typeToTypeConstString(const unsigned int& type);

// The type code of decimal(precision, scale). Only 14 bits of the precision and 6 of the scale are kept.
KYV_EXPORT unsigned int createFixedDecimal(int precision, int scale);

// --- Sizes and classes ----------------------------------------------------------------------------------------------

// Bytes that a value takes in a record, by base type; 0 for string, binary and the codes that store nothing.
KYV_EXPORT extern const unsigned long g_column_lengths[kTypeCount];

// Alignment of a type: its size, or 1 where it has none. Required as is: a decimal's alignment is 24 and its mask 23.
KYV_EXPORT unsigned int getAlignment(const unsigned int& type);
KYV_EXPORT unsigned int getAlignmentMask(const unsigned int& type);

// Required as is: every known code but string, binary and 9 is numeric, the date types and the undefined type included.
KYV_EXPORT bool numericType(const unsigned int& type);
// int16, integer, long, boolean and the undefined type.
KYV_EXPORT bool integerType(const unsigned int& type);
// date, bigdatetime and the undefined type. Required as is: timestamp and time are not among them.
KYV_EXPORT bool genericDateType(const unsigned int& type);

// --- Promotion ------------------------------------------------------------------------------------------------------

// Changes `type` to the common type of both. False, leaving `type` unchanged, when the pair is incompatible.
KYV_EXPORT bool maximizeType(unsigned int& type, const unsigned int& other);

// Changes `type` to the common type of both, at worst string or binary. Always true.
KYV_EXPORT bool maximizeAnyType(unsigned int& type, const unsigned int& other);

// Replaces `type` by the decimal that holds all its values and returns it. Required as is: a decimal loses its
// precision and scale, and a type that has no such decimal becomes decimal(0,0) too.
KYV_EXPORT unsigned int maximizeTypeToFixedDecimal(unsigned int& type);

// Writes the result type of an operation on two decimals. True when its precision is at most 34.
KYV_EXPORT bool getFixedDecimalAdditionResultType(unsigned int& result, const unsigned int& left,
                                                  const unsigned int& right);
KYV_EXPORT bool getFixedDecimalSubtractionResultType(unsigned int& result, const unsigned int& left,
                                                     const unsigned int& right);
KYV_EXPORT bool getFixedDecimalMultiplicationResultType(unsigned int& result, const unsigned int& left,
                                                        const unsigned int& right);
KYV_EXPORT bool getFixedDecimalDivisionResultType(unsigned int& result, const unsigned int& left,
                                                  const unsigned int& right);

// --- Process-wide settings ------------------------------------------------------------------------------------------

KYV_EXPORT extern unsigned long g_legacyMoneyPrecision;  // decimal places of "money"; 4 unless set
KYV_EXPORT extern long g_legacyMoneyFactor;              // 10 to the power of them
KYV_EXPORT extern unsigned long g_dateSize;              // bytes of a date in memory, 4 or 8; 8 unless set
KYV_EXPORT extern unsigned long g_timeSize;              // bytes of a time in memory; 8
KYV_EXPORT extern unsigned long g_decimalSize;           // places when a float is written as text; 6 unless set
KYV_EXPORT extern double g_tolerance;                    // floats below it are written as zero; 10 to minus the places
KYV_EXPORT extern const char* g_date_format;             // default "%"-style format of dates
KYV_EXPORT extern const char* g_time_format;             // default "%"-style format of times
KYV_EXPORT extern bool g_date_format_allocated;          // g_date_format was made by setDateFormat

// Places must be below 19, otherwise the call is ignored.
KYV_EXPORT void setLegacyMoneyPrecision(unsigned long places);
// Bytes must be 4 or 8, otherwise the call is ignored.
KYV_EXPORT void setDateSize(unsigned long bytes);
KYV_EXPORT void setDecimalSize(unsigned long places);
KYV_EXPORT unsigned long getDecimalSize();
// Keeps a copy of the format and frees the copy of an earlier call; pointers to that one die.
KYV_EXPORT void setDateFormat(const char* format);

}  // namespace DataTypes
