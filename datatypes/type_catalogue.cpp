#include "datatypes/type_catalogue.h"

#include <cstdlib>
#include <string>

namespace DataTypes {

namespace {

using kyv_internal::baseOf;
using kyv_internal::kTypeRows;
using kyv_internal::precisionOf;
using kyv_internal::scaleOf;
using kyv_internal::typeRow;
using kyv_internal::TypeRow;

// The decimal's name from one of the two tables, "" outside them.
const char* decimalName(unsigned int type, const char* const* names) {
  const unsigned int precision = precisionOf(type);
  const unsigned int scale = scaleOf(type);
  if (precision >= kDecimalNameSide || scale >= kDecimalNameSide) return "";
  return names[scale + kDecimalNameSide * precision];
}

const char* nameOf(unsigned int type, const char* TypeRow::*name, const char* const* decimalNames) {
  return baseOf(type) == kFixedDecimal ? decimalName(type, decimalNames) : typeRow(type).*name;
}

// The integer that a text begins with, 0 without one.
int leadingInteger(const std::string& text) { return static_cast<int>(std::strtol(text.c_str(), nullptr, 10)); }

// The text after the first `open` and before the first `close`; to the end when `close` does not follow.
std::string between(const std::string& name, char open, char close) {
  const std::size_t begin = name.find(open);
  if (begin == std::string::npos) return {};
  const std::size_t end = name.find(close);
  const bool follows = end != std::string::npos && end > begin;
  return name.substr(begin + 1, follows ? end - begin - 1 : std::string::npos);
}

unsigned int decimalFromName(const std::string& name) {
  if (name.find("decimal") == std::string::npos) return kUndefined;
  return createFixedDecimal(leadingInteger(between(name, '(', ',')), leadingInteger(between(name, ',', ')')));
}

bool hasClass(unsigned int type, kyv_internal::TypeClass wanted) { return (typeRow(type).classes & wanted) != 0; }

}  // namespace

unsigned int stringToType(const std::string& name) {
  for (const TypeRow& row : kTypeRows) {
    if (row.kind == kyv_internal::Kind::None || row.base == kFixedDecimal) continue;
    if (name == row.name || name == row.legacyName) return row.base;
  }
  return decimalFromName(name);
}

std::string typeToString(const unsigned int& type) { return nameOf(type, &TypeRow::name, decimalLower); }

const char* typeToStringUpper(const unsigned int& type) { return nameOf(type, &TypeRow::upperName, decimalUpper); }

std::string typeToLegacyString(const unsigned int& type) { return nameOf(type, &TypeRow::legacyName, decimalLower); }

const char* typeToLegacyStringUpper(const unsigned int& type) {
  return nameOf(type, &TypeRow::legacyUpperName, decimalUpper);
}

std::string typeToTypeConstString(const unsigned int& type) { return typeRow(type).constantName; }

unsigned int createFixedDecimal(int precision, int scale) {
  return (static_cast<unsigned int>(precision) & 0x3FFF) << 14 | (static_cast<unsigned int>(scale) & 0x3F) << 8 |
         kFixedDecimal;
}

unsigned int getAlignment(const unsigned int& type) {
  const unsigned int size = typeRow(type).size;
  return size == 0 ? 1 : size;
}

unsigned int getAlignmentMask(const unsigned int& type) { return getAlignment(type) - 1; }

bool numericType(const unsigned int& type) { return hasClass(type, kyv_internal::kNumeric); }
bool integerType(const unsigned int& type) { return hasClass(type, kyv_internal::kIntegerLike); }
bool genericDateType(const unsigned int& type) { return hasClass(type, kyv_internal::kDateLike); }

}  // namespace DataTypes
