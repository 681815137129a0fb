#pragma once

// A source that gives its text in pieces of some sizes by turns, then fails or ends.

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "byte_source.h"

namespace kyv_test {

class PieceSource final : public kyv_internal::ByteSource {
 public:
  PieceSource(std::string text, std::vector<std::size_t> pieces, bool fails = false)
      : text_(std::move(text)), pieces_(std::move(pieces)), fails_(fails) {}

  std::ptrdiff_t read(char* into, std::size_t capacity) override {
    const std::size_t size = text_.copy(into, std::min(capacity, pieces_[turn_++ % pieces_.size()]), at_);
    at_ += size;
    return size == 0 && fails_ ? -1 : static_cast<std::ptrdiff_t>(size);
  }

 private:
  std::string text_;
  std::vector<std::size_t> pieces_;
  bool fails_;
  std::size_t turn_ = 0;
  std::size_t at_ = 0;
};

}  // namespace kyv_test
