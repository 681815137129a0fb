#pragma once

// Rows that are published together.

#include <cstddef>

#include "kyv/byte_buffer.h"
#include "load_position.h"

namespace kyv_internal {

struct LoadBatch {
  kyv::ByteBuffer records;  // one after another, each led by its length
  std::size_t rows = 0;
  LoadPosition end;  // of the last of them

  // Keeps the memory.
  void clear() {
    records.clear();
    rows = 0;
  }
};

}  // namespace kyv_internal
