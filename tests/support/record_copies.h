#pragma once

// Records in memory of exactly their size, at an odd address.

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

}  // namespace kyv_test
