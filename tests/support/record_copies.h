#pragma once

// Records in memory of exactly their size, at an odd address, and in the opposite byte order.

#include <algorithm>
#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "kyv/row2.h"
#include "tests/support/bytes.h"

namespace kyv_test {

class RecordCopy {
 public:
  explicit RecordCopy(std::string_view bytes)
      : size_(bytes.size()), memory_(std::make_unique<unsigned char[]>(bytes.size() + 1)) {
    std::copy(bytes.begin(), bytes.end(), memory_.get() + 1);
  }

  Row2* operator->() { return get(); }
  Row2* get() { return static_cast<Row2*>(static_cast<void*>(memory_.get() + 1)); }
  std::span<const std::byte> span() const {
    return {static_cast<const std::byte*>(static_cast<const void*>(memory_.get() + 1)), size_};
  }
  std::string bytes() const { return {memory_.get() + 1, memory_.get() + 1 + size_}; }

 private:
  std::size_t size_;
  std::unique_ptr<unsigned char[]> memory_;
};

inline void reverseBytes(std::string& bytes, std::size_t offset, std::size_t count) {
  const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(offset);
  std::reverse(begin, begin + static_cast<std::ptrdiff_t>(count));
}

// The record in the opposite byte order, whose payload is given as that order has it: length, operation and flags (the
// words at 0, 4 and 12) stay.
inline std::string inOppositeOrder(HandRecord record, const std::string& oppositePayload) {
  record.payload = oppositePayload;
  std::string bytes = record.bytes();
  for (const std::size_t offset : {8, 16}) reverseBytes(bytes, offset, 4);
  for (std::size_t i = 0; i < record.table.size(); ++i) reverseBytes(bytes, 20 + 4 * i, 4);
  return bytes;
}

}  // namespace kyv_test
