#pragma once

// Who has an adapter's delivery: a lock on one byte of a file beside the project file. The byte's place is made of the
// adapter's number and the fence of its holder, so that no two holders ever have the same one; the lock belongs to an
// open file, so that it goes when that is closed, or its process dies, and keeps out other threads as well.

#include <cstdint>
#include <string>

#include "platform/sdk/failure.h"

namespace kyv_internal {

class DeliveryHold {
 public:
  DeliveryHold() = default;
  DeliveryHold(const DeliveryHold&) = delete;
  DeliveryHold& operator=(const DeliveryHold&) = delete;
  ~DeliveryHold();

  // Opens the file of a project's locks, and makes it when it is not there. Again does nothing.
  [[nodiscard]] bool open(const std::string& projectFile, Failure& failure);
  // Whether another holds the delivery with a fence.
  [[nodiscard]] bool isHeldByOther(std::int64_t adapter, std::int64_t fence, bool& held, Failure& failure) const;
  // Holds it too. What was held before stays held.
  [[nodiscard]] bool hold(std::int64_t adapter, std::int64_t fence, Failure& failure);
  void letGo(std::int64_t adapter, std::int64_t fence);

 private:
  bool fails(Failure& failure) const;

  int descriptor_ = -1;
  std::string path_;
};

}  // namespace kyv_internal
