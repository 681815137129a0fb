#pragma once

// Where bytes come from: a file, a pipe, or a test's memory.

#include <cstddef>

namespace kyv_internal {

class ByteSource {
 public:
  ByteSource() = default;
  ByteSource(const ByteSource&) = delete;
  ByteSource& operator=(const ByteSource&) = delete;
  virtual ~ByteSource() = default;

  // Reads at least one and at most `capacity` bytes. 0 at the end, -1 on failure; what failed is the source's to tell.
  virtual std::ptrdiff_t read(char* into, std::size_t capacity) = 0;
};

}  // namespace kyv_internal
