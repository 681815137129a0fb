#pragma once

// Records and their columns' types out of an input, for the targets that read any bytes as a record.

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <vector>

#include "datatypes/type_catalogue.h"
#include "kyv/data_types.h"
#include "row2/row2_layout.h"
#include "tests/support/bytes.h"

namespace kyv_fuzz {

inline constexpr std::size_t kTypes = DataTypes::kTypeCount + 1;

// The base types, with a decimal that knows its digits before the one that takes them from the record.
inline unsigned int typeOf(std::size_t choice) {
  return choice + 2 == kTypes ? DataTypes::createFixedDecimal(10, 2)
                              : static_cast<unsigned int>(std::min(choice, DataTypes::kTypeCount - 1));
}

// At least the length word, which claims no more than there is.
inline std::vector<unsigned char> recordOf(std::string_view bytes) {
  std::vector<unsigned char> record = kyv_test::exactly(bytes);
  record.resize(std::max(record.size(), sizeof(std::int32_t)));
  record.shrink_to_fit();
  const auto size = static_cast<std::int32_t>(record.size());
  kyv_internal::store(record.data(), std::min(kyv_internal::load<std::int32_t>(record.data()), size));
  return record;
}

}  // namespace kyv_fuzz
