#pragma once

// One column's text on its way into a record.

#include <cstddef>

#include "datatypes/padded_text.h"

namespace kyv_internal {

struct RowField {
  const char* data = nullptr;  // null: a NULL column; else a padded text
  std::size_t size = 0;

  PaddedText text() const { return {data, size}; }
};

}  // namespace kyv_internal
