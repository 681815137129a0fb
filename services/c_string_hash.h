#pragma once

// The hash of C strings that named fields and statistics share.

#include <cstddef>
#include <string_view>

namespace kyv_internal {

// 5 hash + byte, of one byte after the other; of four at once, so that they need not wait for each other.
// Required as is: bytes count as signed characters, so those above 127 take away.
constexpr std::size_t cStringHash(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<std::size_t>(static_cast<signed char>(text[i])); };
  std::size_t hash = 0;
  std::size_t i = 0;
  for (; i + 4 <= text.size(); i += 4) {
    hash = 625 * hash + (125 * byte(i) + 25 * byte(i + 1) + 5 * byte(i + 2) + byte(i + 3));
  }
  for (; i < text.size(); ++i) hash = 5 * hash + byte(i);
  return hash;
}

}  // namespace kyv_internal
