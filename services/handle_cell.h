#pragma once

// The pattern of the flat layer: objects behind handles, texts as new arrays, and no exception that leaves a function.
//
// A handle points at a cell of one word, `struct FooHandle { Foo* object; };`, defined beside the flat functions of its
// class; functions read `handle->object`. A cell owns its object. A bare `Foo**` serves as a handle too.

#include <pthread.h>

#include <memory>
#include <string_view>

#include "services/mutex_guard.h"

namespace kyv_internal {

// The body of a flat function, which no exception leaves. What throws is exhausted memory, and code of the caller's
// such as a schema; the result is then `failure`: null, false or zero.
template <class Result, class Body>
Result guarded(Result failure, Body body) {
  try {
    return body();
  } catch (...) {
    return failure;
  }
}

// The same for a function without result, which then stops where it is.
template <class Body>
void guarded(Body body) {
  try {
    body();
  } catch (...) {
  }
}

// A new array with a copy of the text and a terminator; deleteL10NMessage releases it. Throws when memory is exhausted:
// call it inside guarded().
[[nodiscard]] inline char* newText(std::string_view text) {
  auto copy = std::make_unique_for_overwrite<char[]>(text.size() + 1);
  text.copy(copy.get(), text.size());
  copy[text.size()] = '\0';
  return copy.release();
}

// A new handle for what `make` returns: the object in a unique_ptr, which may be null. `make` runs while this thread
// holds `mutex`. Null when memory is exhausted.
template <class Handle, class Make>
[[nodiscard]] Handle* makeCell(pthread_mutex_t& mutex, Make make) {
  return guarded<Handle*>(nullptr, [&] {
    const MutexGuard lock(mutex);
    auto object = make();
    auto cell = std::unique_ptr<Handle>(new Handle{object.get()});
    (void)object.release();  // the cell owns it now
    return cell.release();
  });
}

template <class Handle>
auto* objectOf(Handle* cell) {
  return cell->object;
}

template <class T>
T* objectOf(T** cell) {
  return *cell;
}

// Destroys the object, if there is one, and the cell; nothing for null.
template <class Handle>
void deleteCell(Handle* cell) {
  if (cell == nullptr) return;
  delete objectOf(cell);
  delete cell;
}

}  // namespace kyv_internal
