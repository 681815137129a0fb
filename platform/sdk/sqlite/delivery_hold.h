#pragma once

// Who has an adapter's delivery: a lock on one byte of a file beside the project file. The byte's place is made of the
// adapter's number and the fence of its holder, so that no two holders ever have the same one; the lock belongs to an
// open file, so that it goes when that is closed, or its process dies, and keeps out other threads as well.

#include <cstdint>
#include <string>
#include <utility>

#include "platform/sdk/failure.h"

namespace kyv_internal {

// A lock, while it lives; or none. The locks that it came from must outlive it.
class DeliveryHold {
 public:
  DeliveryHold() = default;
  DeliveryHold(DeliveryHold&& other) noexcept { swap(other); }
  DeliveryHold& operator=(DeliveryHold other) noexcept {
    swap(other);
    return *this;
  }
  ~DeliveryHold();

 private:
  friend class DeliveryLocks;
  DeliveryHold(int descriptor, std::int64_t place) : descriptor_(descriptor), place_(place) {}
  void swap(DeliveryHold& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    std::swap(place_, other.place_);
  }

  int descriptor_ = -1;
  std::int64_t place_ = 0;
};

class DeliveryLocks {
 public:
  DeliveryLocks() = default;
  DeliveryLocks(const DeliveryLocks&) = delete;
  DeliveryLocks& operator=(const DeliveryLocks&) = delete;
  ~DeliveryLocks();

  // Opens the file of a project's locks, and makes it when it is not there. Again does nothing.
  [[nodiscard]] bool open(const std::string& projectFile, Failure& failure);
  // Whether another holds an adapter's delivery with a fence.
  [[nodiscard]] bool isHeldByOther(std::int64_t adapter, std::int64_t fence, bool& held, Failure& failure) const;
  [[nodiscard]] bool hold(std::int64_t adapter, std::int64_t fence, DeliveryHold& hold, Failure& failure) const;

 private:
  bool fails(Failure& failure) const;

  int descriptor_ = -1;
  std::string path_;
};

}  // namespace kyv_internal
