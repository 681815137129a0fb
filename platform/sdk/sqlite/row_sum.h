#pragma once

// The sum that is stored with each row, so that one that changed on the disk, or came to another place there, is not
// given to a reader.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "row2/row2_layout.h"

namespace kyv_internal {

// Joins eight bytes with what came before: every bit of both has an effect on about half of the bits.
inline std::uint64_t joinSums(std::uint64_t sum, std::uint64_t word) {
  constexpr std::uint64_t kOdd = 0x9E3779B97F4A7C15;
  const auto product = static_cast<unsigned __int128>(sum ^ kOdd) * (word ^ ~kOdd);
  return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64) ^ word;
}

inline std::uint64_t addBytes(std::uint64_t sum, std::string_view bytes) {
  sum = joinSums(sum, bytes.size());
  for (; bytes.size() >= sizeof sum; bytes.remove_prefix(sizeof sum)) {
    sum = joinSums(sum, load<std::uint64_t>(bytes.data()));
  }
  char last[sizeof sum] = {};
  bytes.copy(last, sizeof last);
  return joinSums(sum, load<std::uint64_t>(last));
}

// 32 bits of it.
inline std::int64_t rowSum(std::int64_t number, bool gone, std::string_view key, std::string_view record) {
  const std::uint64_t place = joinSums(static_cast<std::uint64_t>(number), gone ? 1 : 0);
  return static_cast<std::int64_t>(addBytes(addBytes(place, key), record) >> 32);
}

}  // namespace kyv_internal
