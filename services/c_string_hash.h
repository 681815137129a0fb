#pragma once

// The hash of C strings that named fields and statistics share.

#include <cstddef>
#include <string_view>

namespace kyv_internal {

// Required as is: bytes count as signed characters, so those above 127 take away.
constexpr std::size_t cStringHash(std::string_view text) {
  std::size_t hash = 0;
  for (const char c : text) hash = 5 * hash + static_cast<std::size_t>(static_cast<signed char>(c));
  return hash;
}

}  // namespace kyv_internal
