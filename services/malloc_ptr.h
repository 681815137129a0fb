#pragma once

// The owner of memory that comes from malloc: records, until the return statement that hands them to the caller.

#include <cstdlib>
#include <memory>

namespace kyv_internal {

struct FreeMemory {
  void operator()(void* block) const { std::free(block); }
};

template <class T>
using MallocPtr = std::unique_ptr<T, FreeMemory>;

}  // namespace kyv_internal
