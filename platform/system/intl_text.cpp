#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "kyv/system.h"

namespace DALVON::Kyv {

int intl_snprintf(char* out, std::size_t size, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(out, size, format, arguments);
  va_end(arguments);
  return length;
}

std::size_t intl_strlcpy(char* out, const char* source, std::size_t size) {
  const std::size_t length = std::strlen(source);
  if (size == 0) return length;
  const std::size_t copied = std::min(length, size - 1);
  std::memcpy(out, source, copied);
  out[copied] = '\0';
  return length;
}

const char* intl_getenv(const char* name) { return std::getenv(name); }

}  // namespace DALVON::Kyv
