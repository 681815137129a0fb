#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>

#include "command_line.h"
#include "complaint.h"
#include "exit_status.h"

namespace {

// Where the process was started without one of the three standard streams, the next file opened would take its place,
// and be read or written in its stead. What stands there now fails whenever it is used.
void occupyStandardDescriptors() {
  int descriptor = 0;
  do descriptor = ::open("/dev/null", O_PATH | O_CLOEXEC);
  while (descriptor >= 0 && descriptor <= STDERR_FILENO);
  if (descriptor >= 0) ::close(descriptor);
}

// Left to itself the allocator learns from the first large block that is released to keep the next ones, for each
// thread.
void returnLargeBlocks() {
  constexpr int kLargeBytes = 128 * 1024;
  mallopt(M_MMAP_THRESHOLD, kLargeBytes);
}

// False when something that was printed did not get out, unless its reader has seen enough.
bool flushStandardOutput() {
  if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return true;
  if (errno == EPIPE) return true;
  kyv_internal::complain(std::string("cannot write standard output: ") + std::strerror(errno));
  return false;
}

}  // namespace

int main(int count, char** arguments) {
  occupyStandardDescriptors();
  returnLargeBlocks();
  try {
    const int status = kyv_internal::runCommandLine(count, arguments);
    return flushStandardOutput() ? status : static_cast<int>(kyv_internal::ExitStatus::kFiles);
  } catch (const std::exception& failure) {  // memory is exhausted
    std::fprintf(stderr, "kyv: %s\n", failure.what());
    return 3;
  }
}
