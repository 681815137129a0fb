#pragma once

// A column's type with what conversions need of its row in the catalogue, looked up once.

#include <cstddef>
#include <cstdint>

#include "datatypes/type_catalogue.h"

namespace kyv_internal {

struct ColumnType {
  unsigned int type = DataTypes::kUndefined;
  Kind kind = Kind::None;
  std::uint8_t size = 0;  // bytes in a record; 0 where the value decides, or nothing is stored
};

constexpr ColumnType columnTypeOf(unsigned int type) {
  const TypeRow& row = typeRow(type);
  return {type, row.kind, row.size};
}

}  // namespace kyv_internal
