#include "platform/sdk/calls.h"

namespace kyv_internal {

void report(kyv_error_t* error, Failure failure) {
  if (const auto object = findObject<ErrorObject>(error)) object->failure = std::move(failure);
}

Failure failureOf(const std::exception& exception) {
  Failure outOfMemory{KYV_ERROR_STORE, "out of memory"};  // so short that it needs none
  if (dynamic_cast<const std::bad_alloc*>(&exception) != nullptr) return outOfMemory;
  try {
    return {KYV_ERROR_STORE, exception.what()};
  } catch (const std::bad_alloc&) {
    return outOfMemory;
  }
}

bool hasText(const char* text, const char* what, Failure& failure) {
  return text != nullptr || fail(failure, KYV_ERROR_USAGE, "%s is null", what);
}

std::shared_ptr<Stream> findStream(kyv_stream_t* handle, Failure& failure) {
  auto stream = findObject<Stream>(handle);
  if (stream == nullptr) {
    fail(failure, KYV_ERROR_USAGE, "the stream's handle is null, was released, or is another's");
  }
  return stream;
}

}  // namespace kyv_internal
