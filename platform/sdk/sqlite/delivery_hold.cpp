#include "platform/sdk/sqlite/delivery_hold.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace kyv_internal {

namespace {

constexpr std::int64_t kFences = std::int64_t{1} << 32;  // after so many the bytes of an adapter are used again

struct flock byteOf(std::int64_t adapter, std::int64_t fence, short type) {
  struct flock lock {};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;
  lock.l_start = adapter * kFences + fence % kFences;
  lock.l_len = 1;
  return lock;
}

}  // namespace

DeliveryHold::~DeliveryHold() {
  if (descriptor_ >= 0) close(descriptor_);
}

bool DeliveryHold::open(const std::string& projectFile, Failure& failure) {
  if (descriptor_ >= 0) return true;
  path_ = projectFile + "-delivery";
  descriptor_ = ::open(path_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
  return descriptor_ >= 0 || fails(failure);
}

bool DeliveryHold::fails(Failure& failure) const {
  return fail(failure, KYV_ERROR_STORE, "the file '%s' cannot be locked: %s", path_.c_str(),
              std::generic_category().message(errno).c_str());
}

bool DeliveryHold::isHeldByOther(std::int64_t adapter, std::int64_t fence, bool& held, Failure& failure) const {
  struct flock lock = byteOf(adapter, fence, F_WRLCK);
  if (fcntl(descriptor_, F_OFD_GETLK, &lock) != 0) return fails(failure);
  held = lock.l_type != F_UNLCK;
  return true;
}

bool DeliveryHold::hold(std::int64_t adapter, std::int64_t fence, Failure& failure) {
  struct flock lock = byteOf(adapter, fence, F_WRLCK);
  return fcntl(descriptor_, F_OFD_SETLK, &lock) == 0 || fails(failure);
}

void DeliveryHold::letGo(std::int64_t adapter, std::int64_t fence) {
  struct flock lock = byteOf(adapter, fence, F_UNLCK);
  (void)fcntl(descriptor_, F_OFD_SETLK, &lock);
}

}  // namespace kyv_internal
