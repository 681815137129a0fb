#include "output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

namespace kyv_internal {
namespace {

constexpr mode_t kNewFileMode = 0666;  // before the process's mask

// A link stays a link: what it points at is replaced.
std::string followLinks(const std::string& path) {
  std::error_code failed;
  const std::filesystem::path real = std::filesystem::canonical(path, failed);
  return failed ? path : real.string();
}

// The one spelling of a path to a file that need not exist.
std::filesystem::path oneSpelling(const std::string& path) {
  std::error_code failed;
  return std::filesystem::weakly_canonical(std::filesystem::absolute(path, failed), failed);
}

bool isReplaceable(const std::string& path) {
  struct stat status = {};
  return ::stat(path.c_str(), &status) != 0 || S_ISREG(status.st_mode);
}

}  // namespace

OutputFile::~OutputFile() {
  if (descriptor_ > STDERR_FILENO) ::close(descriptor_);
  if (!temporary_.empty()) ::unlink(temporary_.c_str());
}

bool OutputFile::open(const std::string& path, std::string& error) {
  name_ = path == "-" ? "standard output" : path;
  if (path == "-") {
    descriptor_ = STDOUT_FILENO;
    return true;
  }
  if (isReplaceable(path)) return openTemporary(followLinks(path), error);
  return openInPlace(path, Content::kNew, error);
}

bool OutputFile::openInPlace(const std::string& path, Content content, std::string& error) {
  name_ = path;
  const int flags = content == Content::kContinued ? O_APPEND : O_TRUNC;
  descriptor_ = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | flags, kNewFileMode);
  if (descriptor_ < 0) return fail(error);
  struct stat status = {};
  isContinued_ = content == Content::kContinued && ::fstat(descriptor_, &status) == 0 && status.st_size > 0;
  return true;
}

bool OutputFile::openTemporary(const std::string& target, std::string& error) {
  target_ = target;
  const std::string temporary = target + ".part-" + std::to_string(::getpid());
  descriptor_ = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kNewFileMode);
  if (descriptor_ < 0) return fail(error);
  temporary_ = temporary;
  return true;
}

bool OutputFile::write(std::string_view bytes, std::string& error) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(descriptor_, bytes.data(), bytes.size());
    if (written < 0 && errno != EINTR) return fail(error);
    if (written > 0) bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

bool OutputFile::commit(std::string& error) {
  if (temporary_.empty()) return true;
  const int descriptor = descriptor_;
  descriptor_ = -1;
  if (::close(descriptor) != 0 || ::rename(temporary_.c_str(), target_.c_str()) != 0) return fail(error);
  temporary_.clear();
  return true;
}

bool OutputFile::fail(std::string& error) {
  readerHasGone_ = errno == EPIPE;
  error = "cannot write " + name_ + ": " + std::strerror(errno);
  return false;
}

bool OutputFile::isTerminal() const { return ::isatty(descriptor_) == 1; }

bool OutputFile::isStandardOutput() const { return descriptor_ == STDOUT_FILENO; }

bool isSameFile(const std::string& left, const std::string& right) {
  std::error_code failed;
  return left != "-" && right != "-" && std::filesystem::equivalent(left, right, failed) && !failed;
}

bool willBeSameFile(const std::string& left, const std::string& right) {
  if (left.empty() || right.empty() || left == "-" || right == "-") return false;
  return isSameFile(left, right) || oneSpelling(left) == oneSpelling(right);
}

}  // namespace kyv_internal
