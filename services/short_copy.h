#pragma once

// Copying many short pieces of a text or record, one behind the other.

#include <cstddef>
#include <cstring>

namespace kyv_internal {

// A piece of up to so many bytes is copied in one go.
inline constexpr std::size_t kShortCopy = 32;

// Copies `size` bytes and returns their end in the output. Up to kShortCopy bytes may be read, and written over what
// the next piece takes, but nothing from `fromEnd` and `toEnd` on.
template <class Byte>
Byte* copyPiece(const Byte* from, const Byte* fromEnd, std::size_t size, Byte* to, const Byte* toEnd) {
  const auto hasRoom = [](const Byte* begin, const Byte* end) {
    return static_cast<std::size_t>(end - begin) >= kShortCopy;
  };
  if (size <= kShortCopy && hasRoom(from, fromEnd) && hasRoom(to, toEnd)) {
    std::memcpy(to, from, kShortCopy);
  } else if (size != 0) {
    std::memcpy(to, from, size);
  }
  return to + size;
}

}  // namespace kyv_internal
