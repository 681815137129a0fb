#pragma once

// What the calls of sdk.h have in common: each finds what its handle stands for, lets it do the work, and leaves why
// that failed in the error object.

#include <bit>
#include <cstdint>
#include <exception>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include "kyv/sdk.h"
#include "platform/sdk/failure.h"
#include "platform/sdk/handle_table.h"
#include "platform/sdk/project.h"

namespace kyv_internal {

constexpr std::int32_t kFailed = -1;

struct ErrorObject : HandleObject {
  Failure failure;
};

inline std::int32_t status(bool done) { return done ? 0 : kFailed; }

// Leaves a failure, or none, in an error object, if that is one.
void report(kyv_error_t* error, Failure failure);
// What an exception says that was thrown while a call ran.
Failure failureOf(const std::exception& exception);

bool hasText(const char* text, const char* what, Failure& failure);
// Null, with a failure, for anything but a stream's handle.
std::shared_ptr<Stream> findStream(kyv_stream_t* handle, Failure& failure);

// Runs the body of a call, which no exception leaves.
template <class Result, class Body>
Result call(kyv_error_t* error, Result failed, Body body) {
  Failure failure;
  Result result = failed;
  try {
    result = body(failure);
  } catch (const std::exception& exception) {
    failure = failureOf(exception);
    result = failed;
  }
  report(error, std::move(failure));
  return result;
}

// The same with the object of a handle; `failed` when there is none.
template <class Object, class Handle, class Result, class Body>
Result callOn(Handle* handle, kyv_error_t* error, Result failed, Body body) {
  return call(error, failed, [&](Failure& failure) -> Result {
    const std::shared_ptr<Object> object = findObject<Object>(handle);
    if (object != nullptr) return body(*object, failure);
    fail(failure, KYV_ERROR_USAGE, handle == nullptr ? "a handle is null" : "a handle was released, or is another's");
    return failed;
  });
}

// A status from a body that answers with a bool.
template <class Object, class Handle, class Body>
std::int32_t doOn(Handle* handle, kyv_error_t* error, Body body) {
  return callOn<Object>(handle, error, kFailed,
                        [&](Object& object, Failure& failure) { return status(body(object, failure)); });
}

template <class Object, class Handle>
std::int32_t release(Handle* handle, kyv_error_t* error) {
  return doOn<Object>(handle, error, [&](Object&, Failure&) {
    handles().remove(std::bit_cast<std::uintptr_t>(handle));
    return true;
  });
}

// A publisher or subscriber of a connected project.
template <class Object, class Handle>
Handle* createOn(kyv_project_t* project, kyv_error_t* error) {
  return callOn<Project, kyv_project_t, Handle*>(
      project, error, nullptr, [](Project& held, Failure& failure) -> Handle* {
        Address address = held.connectedAddress(failure);
        if (address == nullptr) return nullptr;
        return addHandle<Handle>(std::make_shared<Object>(std::move(address)));
      });
}

}  // namespace kyv_internal
