#pragma once

// What is written to a C stream, as a text.

#include <cstdio>
#include <cstdlib>
#include <string>

namespace kyv_test {

template <class Write>
std::string written(Write write) {
  char* text = nullptr;
  std::size_t size = 0;
  std::FILE* const out = open_memstream(&text, &size);
  write(out);
  std::fclose(out);
  const std::string copy(text, size);
  std::free(text);
  return copy;
}

}  // namespace kyv_test
