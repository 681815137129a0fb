#pragma once

// What handles stand for. A handle is a number in the shape of a pointer that nobody follows: one that was released, or
// that never was, is looked up and not found. No number is given twice.

#include <bit>
#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

namespace kyv_internal {

class HandleObject {
 public:
  HandleObject() = default;
  HandleObject(const HandleObject&) = delete;
  HandleObject& operator=(const HandleObject&) = delete;
  virtual ~HandleObject() = default;
};

// Threads: any, at once.
class HandleTable {
 public:
  std::uintptr_t add(std::shared_ptr<HandleObject> object);
  // Null for an unknown handle.
  std::shared_ptr<HandleObject> find(std::uintptr_t handle);
  // The object, which is no longer in the table.
  std::shared_ptr<HandleObject> remove(std::uintptr_t handle);

 private:
  std::mutex mutex_;
  std::unordered_map<std::uintptr_t, std::shared_ptr<HandleObject>> objects_;
  std::uintptr_t last_ = 0;
};

// The process's table. It is never destroyed: destructors of static objects may still release handles.
HandleTable& handles();

template <class Handle>
Handle* addHandle(std::shared_ptr<HandleObject> object) {
  return std::bit_cast<Handle*>(handles().add(std::move(object)));
}

// Null when the handle is dead or of another kind.
template <class Object, class Handle>
std::shared_ptr<Object> findObject(Handle* handle) {
  return std::dynamic_pointer_cast<Object>(handles().find(std::bit_cast<std::uintptr_t>(handle)));
}

// Handles that die with the object that has this member.
class OwnedHandles {
 public:
  OwnedHandles() = default;
  OwnedHandles(const OwnedHandles&) = delete;
  OwnedHandles& operator=(const OwnedHandles&) = delete;
  ~OwnedHandles() { clear(); }

  template <class Handle>
  Handle* add(std::shared_ptr<HandleObject> object) {
    owned_.reserve(owned_.size() + 1);
    auto* const handle = addHandle<Handle>(std::move(object));
    owned_.push_back(std::bit_cast<std::uintptr_t>(handle));
    return handle;
  }
  void clear();

 private:
  std::vector<std::uintptr_t> owned_;
};

}  // namespace kyv_internal
