#pragma once

// A column's type with what conversions need of its row in the catalogue, looked up once.

#include <cstddef>
#include <cstdint>
#include <span>

#include "datatypes/type_catalogue.h"
#include "row2/row2_layout.h"

namespace kyv_internal {

struct ColumnType {
  unsigned int type = DataTypes::kUndefined;
  Kind kind = Kind::None;
  std::uint8_t size = 0;  // bytes in a record; 0 where the value decides, or nothing is stored

  // What packedSize() makes of a text.
  std::uint8_t ownBytes = 0;
  std::uint8_t textShift = kNoText;

  static constexpr std::uint8_t kNoText = 63;  // leaves nothing of the length of any text
};

// Bytes that a text takes when packed as a type, found without a branch. Exact for every text that packs.
constexpr std::size_t packedSize(const ColumnType& column, std::size_t textSize) {
  return column.ownBytes + (textSize >> column.textShift);
}

// The own bytes of all columns.
constexpr std::size_t ownBytes(std::span<const ColumnType> columns) {
  std::size_t bytes = 0;
  for (const ColumnType& column : columns) bytes += column.ownBytes;
  return bytes;
}

constexpr ColumnType columnTypeOf(unsigned int type) {
  const TypeRow& row = typeRow(type);
  if (row.kind == Kind::String) return {type, row.kind, row.size, 1, 0};                  // the text and a terminator
  if (row.kind == Kind::Binary) return {type, row.kind, row.size, kBinaryPrefixSize, 1};  // a byte for two digits
  return {type, row.kind, row.size, row.size};
}

}  // namespace kyv_internal
