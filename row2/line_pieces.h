#pragma once

// A delimited line cut at its separators, piece by piece.

#include <bit>
#include <cstddef>
#include <cstdint>
#include <new>
#include <span>

#include "datatypes/padded_text.h"
#include "services/byte_search.h"

namespace kyv_internal {

constexpr bool isQuote(char c) { return c == '\'' || c == '"'; }

// A piece of a line, with its quotes.
class LinePiece : public PaddedText {
 public:
  using PaddedText::PaddedText;
};

// What both quotes have in common is looked for first, which takes a single comparison.
inline bool beginsWithQuote(LinePiece piece) {
  constexpr int kCommon = ~('\'' ^ '"');
  const char first = *piece.data();
  return (first & kCommon) == ('"' & kCommon) && isQuote(first);
}

// Memory for a line of at most `size` bytes: padded, and with the bytes that the search in blocks reads behind the
// line. Throws when memory is exhausted.
inline PaddedMemory allocateLine(std::size_t size) {
  PaddedMemory memory = allocatePadded(size + kSearchBlock);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

class LinePieces {
 public:
  // REQUIRES: the line lies in memory from allocateLine(), and stays as it is.
  LinePieces(std::span<const char> line, char separator)
      : begin_(line.data()), nextBlock_(line.data()), lineEnd_(line.data() + line.size()), separator_(separator) {}

  // The next piece, which may be empty; even then its first byte can be read. False when there are no more.
  bool next(LinePiece& piece) {
    while (ends_ == 0) {
      if (!takeBlock()) return false;
    }
    const char* const end = block_ + static_cast<unsigned int>(std::countr_zero(ends_));
    ends_ &= ends_ - 1;
    piece = {begin_, static_cast<std::size_t>(end - begin_)};
    begin_ = end + 1;
    return true;
  }

 private:
  // The ends of the pieces in the next block, the line's end among them.
  bool takeBlock() {
    if (nextBlock_ > lineEnd_) return false;
    block_ = nextBlock_;
    nextBlock_ += kSearchBlock;
    ends_ = separator_.inBlock(block_);
    if (nextBlock_ > lineEnd_) {
      const std::uint64_t lineEnd = std::uint64_t{1} << (lineEnd_ - block_);
      ends_ = (ends_ & (lineEnd - 1)) | lineEnd;
    }
    return true;
  }

  const char* begin_;  // of the next piece
  const char* block_ = nullptr;
  const char* nextBlock_;
  const char* lineEnd_;
  std::uint64_t ends_ = 0;  // of pieces in the block; bit i: byte i is behind a piece
  ByteSearch separator_;
};

}  // namespace kyv_internal
