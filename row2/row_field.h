#pragma once

// One column's text on its way into a record.

#include <cstddef>
#include <string_view>

namespace kyv_internal {

struct RowField {
  const char* data = nullptr;  // null: a NULL column
  std::size_t size = 0;
  unsigned int type = 0;  // of the column; set while the record is sized, for packing

  std::string_view text() const { return {data, size}; }
};

}  // namespace kyv_internal
