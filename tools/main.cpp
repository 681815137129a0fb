#include <cstdio>
#include <exception>

#include "command_line.h"

int main(int count, char** arguments) {
  try {
    return kyv_internal::runCommandLine(count, arguments);
  } catch (const std::exception& failure) {  // memory is exhausted
    std::fprintf(stderr, "kyv: %s\n", failure.what());
    return 3;
  }
}
