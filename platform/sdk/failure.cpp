#include "platform/sdk/failure.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace kyv_internal {

bool fail(Failure& failure, std::int32_t code, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  std::va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  va_end(arguments);
  failure.code = code;
  failure.message.assign(static_cast<std::size_t>(std::max(length, 0)) + 1, '\0');
  std::vsnprintf(failure.message.data(), failure.message.size(), format, again);
  va_end(again);
  failure.message.pop_back();
  return false;
}

}  // namespace kyv_internal
