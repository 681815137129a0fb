#pragma once

// What a handle of an error collector points at, and the way to the collector: only while its mutex is held, so that
// rows on several threads may report into one.

#include <pthread.h>

#include <memory>

#include "kyv/connection_errors.h"
#include "kyv/flat.h"
#include "services/handle_cell.h"

struct ConnectionErrorsHandle {
  ConnectionErrorsHandle() = default;
  ~ConnectionErrorsHandle() { pthread_mutex_destroy(&mutex); }
  ConnectionErrorsHandle(const ConnectionErrorsHandle&) = delete;
  ConnectionErrorsHandle& operator=(const ConnectionErrorsHandle&) = delete;

  std::unique_ptr<ConnectionErrors> collection = std::make_unique<ConnectionErrors>();
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
};

namespace kyv_internal {

// Calls `use` with the collector, held for the duration of the call, and gives its result; `failure` for a null handle
// and when `use` throws. The mutex is not recursive: `use` must not call a flat function with the same handle.
template <class Result, class Use>
Result withErrors(ConnectionErrorsHandle* handle, Result failure, Use use) {
  if (handle == nullptr) return failure;
  return guarded(failure, [&]() -> Result {
    const MutexGuard lock(handle->mutex);
    return use(*handle->collection);
  });
}

// The same for a use without result.
template <class Use>
void withErrors(ConnectionErrorsHandle* handle, Use use) {
  if (handle == nullptr) return;
  guarded([&] {
    const MutexGuard lock(handle->mutex);
    use(*handle->collection);
  });
}

}  // namespace kyv_internal
