#include "platform/sdk/handle_table.h"

namespace kyv_internal {

std::uintptr_t HandleTable::add(std::shared_ptr<HandleObject> object) {
  const std::lock_guard lock(mutex_);
  objects_.emplace(last_ + 1, std::move(object));
  return ++last_;
}

std::shared_ptr<HandleObject> HandleTable::find(std::uintptr_t handle) {
  const std::lock_guard lock(mutex_);
  const auto found = objects_.find(handle);
  return found != objects_.end() ? found->second : nullptr;
}

// The object is destroyed by the caller, outside the lock: what it owns is in the table too.
std::shared_ptr<HandleObject> HandleTable::remove(std::uintptr_t handle) {
  const std::lock_guard lock(mutex_);
  const auto node = objects_.extract(handle);
  return node.empty() ? nullptr : node.mapped();
}

HandleTable& handles() {
  static HandleTable& table = *std::make_unique<HandleTable>().release();
  return table;
}

void OwnedHandles::clear() {
  for (const std::uintptr_t handle : owned_) handles().remove(handle);
  owned_.clear();
}

}  // namespace kyv_internal
