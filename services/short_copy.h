#pragma once

// Copying many short pieces of a text or record, one behind the other.

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace kyv_internal {

// A piece of up to so many bytes is copied in one go.
inline constexpr std::size_t kShortCopy = 32;

// Copies the bytes of one to two words as two words, the first and the last, which may overlap.
template <class Word>
void copyEnds(const char* from, std::size_t size, char* to) {
  Word first;
  Word last;
  std::memcpy(&first, from, sizeof first);
  std::memcpy(&last, from + size - sizeof last, sizeof last);
  std::memcpy(to, &first, sizeof first);
  std::memcpy(to + size - sizeof last, &last, sizeof last);
}

// Copies exactly `size` bytes.
inline void copyExactly(const char* from, std::size_t size, char* to) {
  if (size >= 4 && size < 8) return copyEnds<std::uint32_t>(from, size, to);
  if (size >= 8 && size <= 16) return copyEnds<std::uint64_t>(from, size, to);
  if (size >= 4) {
    std::memcpy(to, from, size);
  } else {
    for (std::size_t i = 0; i < size; ++i) to[i] = from[i];
  }
}

// Copies `size` bytes and returns their end in the output. Up to kShortCopy bytes may be read, and written over what
// the next piece takes, but nothing from `fromEnd` and `toEnd` on.
inline char* copyPiece(const char* from, const char* fromEnd, std::size_t size, char* to, const char* toEnd) {
  const auto hasRoom = [](const char* begin, const char* end) {
    return static_cast<std::size_t>(end - begin) >= kShortCopy;
  };
  if (size <= kShortCopy && hasRoom(from, fromEnd) && hasRoom(to, toEnd)) {
    std::memcpy(to, from, kShortCopy);
  } else {
    copyExactly(from, size, to);
  }
  return to + size;
}

}  // namespace kyv_internal
