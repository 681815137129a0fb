#pragma once

// One column's text on its way into a record.

#include <cstddef>
#include <string_view>

namespace kyv_internal {

struct RowField {
  const char* data = nullptr;  // null: a NULL column
  std::size_t size = 0;

  std::string_view text() const { return {data, size}; }
};

}  // namespace kyv_internal
