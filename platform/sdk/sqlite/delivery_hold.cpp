#include "platform/sdk/sqlite/delivery_hold.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace kyv_internal {

namespace {

constexpr std::int64_t kFences = std::int64_t{1} << 32;  // after so many the bytes of an adapter are used again

std::int64_t placeOf(std::int64_t adapter, std::int64_t fence) { return adapter * kFences + fence % kFences; }

struct flock byteAt(std::int64_t place, short type) {
  struct flock lock {};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;
  lock.l_start = place;
  lock.l_len = 1;
  return lock;
}

}  // namespace

DeliveryHold::~DeliveryHold() {
  struct flock lock = byteAt(place_, F_UNLCK);
  if (descriptor_ >= 0) (void)fcntl(descriptor_, F_OFD_SETLK, &lock);
}

DeliveryLocks::~DeliveryLocks() {
  if (descriptor_ >= 0) close(descriptor_);
}

bool DeliveryLocks::open(const std::string& projectFile, Failure& failure) {
  if (descriptor_ >= 0) return true;
  path_ = projectFile + "-delivery";
  descriptor_ = ::open(path_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
  return descriptor_ >= 0 || fails(failure);
}

bool DeliveryLocks::fails(Failure& failure) const {
  return fail(failure, KYV_ERROR_STORE, "the file '%s' cannot be locked: %s", path_.c_str(),
              std::generic_category().message(errno).c_str());
}

bool DeliveryLocks::isHeldByOther(std::int64_t adapter, std::int64_t fence, bool& held, Failure& failure) const {
  struct flock lock = byteAt(placeOf(adapter, fence), F_WRLCK);
  if (fcntl(descriptor_, F_OFD_GETLK, &lock) != 0) return fails(failure);
  held = lock.l_type != F_UNLCK;
  return true;
}

bool DeliveryLocks::hold(std::int64_t adapter, std::int64_t fence, DeliveryHold& hold, Failure& failure) const {
  const std::int64_t place = placeOf(adapter, fence);
  struct flock lock = byteAt(place, F_WRLCK);
  if (fcntl(descriptor_, F_OFD_SETLK, &lock) != 0) return fails(failure);
  hold = DeliveryHold(descriptor_, place);
  return true;
}

}  // namespace kyv_internal
