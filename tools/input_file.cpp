#include "input_file.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "interrupt.h"

namespace kyv_internal {
namespace {

constexpr int kPollMillis = 100;

std::string cannotRead(const std::string& name) { return "cannot read " + name + ": " + std::strerror(errno); }

}  // namespace

InputFile::~InputFile() {
  if (descriptor_ > STDIN_FILENO) ::close(descriptor_);
}

bool InputFile::open(const std::string& path, std::string& error) {
  const bool standardInput = path == "-";
  name_ = standardInput ? "<stdin>" : path;
  descriptor_ = standardInput ? STDIN_FILENO : ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  struct stat status = {};
  if (descriptor_ < 0 || ::fstat(descriptor_, &status) != 0) {
    error = cannotRead(name_);
    return false;
  }
  if (S_ISDIR(status.st_mode)) {
    error = "cannot read " + name_ + ": it is a directory";
    return false;
  }
  if (S_ISREG(status.st_mode)) size_ = static_cast<std::uint64_t>(status.st_size);
  return true;
}

std::ptrdiff_t InputFile::read(char* into, std::size_t capacity) {
  while (waitForData()) {
    const ssize_t got = ::read(descriptor_, into, capacity);
    if (got >= 0) return got;
    if (errno == EINTR || errno == EAGAIN) continue;
    error_ = cannotRead(name_);
    return -1;
  }
  return -1;
}

// Several threads take turns at reading and a signal wakes only one of them, so a silent pipe is asked in short waits.
bool InputFile::waitForData() {
  while (!interrupted()) {
    if (size_) return true;
    pollfd waited = {descriptor_, POLLIN, 0};
    if (::poll(&waited, 1, kPollMillis) != 0) return !interrupted();
  }
  return false;
}

bool readWholeFile(const std::string& path, std::size_t most, std::string& text, std::string& error) {
  InputFile file;
  if (!file.open(path, error)) return false;
  text.resize(most + 1);
  std::size_t size = 0;
  std::ptrdiff_t got = 0;
  while (size < text.size() && (got = file.read(text.data() + size, text.size() - size)) > 0) {
    size += static_cast<std::size_t>(got);
  }
  text.resize(size);
  error = got < 0 ? file.error() : size > most ? file.name() + ": the file is too large" : "";
  return error.empty();
}

}  // namespace kyv_internal
