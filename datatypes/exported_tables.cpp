// The exported per-type and per-decimal tables, made by the compiler: value sizes, and the names of all decimals up to
// 34 digits, "decimal(0,0)" to "decimal(34,34)" in both cases.
//
// The public header declares them as plain arrays, which no constexpr function can return. A std::array holds the same
// bytes, so each table is one, defined under the symbol that the plain array has; this file must not use the declared
// names.

#include <array>
#include <cstddef>
#include <string_view>

#include "datatypes/type_catalogue.h"
#include "kyv/data_types.h"

namespace kyv_internal {

namespace {

constexpr std::size_t kSide = DataTypes::kDecimalNameSide;
constexpr std::size_t kEntries = kSide * kSide;

using Name = std::array<char, 16>;  // "decimal(34,34)" and its terminator fit
using Names = std::array<Name, kEntries>;
using NameTable = std::array<const char*, kEntries>;

constexpr char* appendNumber(char* out, std::size_t number) {
  if (number >= 10) *out++ = static_cast<char>('0' + number / 10);
  *out++ = static_cast<char>('0' + number % 10);
  return out;
}

constexpr Name makeName(std::string_view word, std::size_t precision, std::size_t scale) {
  Name name{};
  if (scale > precision) return name;
  char* out = name.data();
  for (const char c : word) *out++ = c;
  *out++ = '(';
  out = appendNumber(out, precision);
  *out++ = ',';
  out = appendNumber(out, scale);
  *out = ')';
  return name;
}

constexpr Names makeNames(std::string_view word) {
  Names names{};
  for (std::size_t i = 0; i < kEntries; ++i) names[i] = makeName(word, i / kSide, i % kSide);
  return names;
}

constexpr Names kLowerNames = makeNames("decimal");
constexpr Names kUpperNames = makeNames("DECIMAL");

constexpr NameTable pointersTo(const Names& names) {
  NameTable table{};
  for (std::size_t i = 0; i < kEntries; ++i) table[i] = names[i].data();
  return table;
}

}  // namespace

KYV_EXPORT extern const NameTable lowerNameTable asm("_ZN9DataTypes12decimalLowerE");
constinit const NameTable lowerNameTable = pointersTo(kLowerNames);

KYV_EXPORT extern const NameTable upperNameTable asm("_ZN9DataTypes12decimalUpperE");
constinit const NameTable upperNameTable = pointersTo(kUpperNames);

using SizeTable = std::array<unsigned long, DataTypes::kTypeCount>;
KYV_EXPORT extern const SizeTable sizeTable asm("_ZN9DataTypes16g_column_lengthsE");
constinit const SizeTable sizeTable = [] {
  SizeTable sizes{};
  for (std::size_t i = 0; i < sizes.size(); ++i) sizes[i] = kTypeRows[i].size;
  return sizes;
}();

}  // namespace kyv_internal
