#pragma once

// A delimited line cut at its separators, piece by piece.

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <new>
#include <span>
#include <string_view>

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

  // Whether the piece that came last was the line's last one.
  bool atLineEnd() const { return ends_ == 0 && nextBlock_ > lineEnd_; }

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

// The pieces of each line of a text in turn. A line ends with a line feed, with or without a carriage return before it.
class TextPieces {
 public:
  // A line has at most this many bytes before its last piece begins; those of a longer one are not all found.
  static constexpr std::size_t kLongestLine = 1024;
  // Bytes that a text needs behind a line.
  static constexpr std::size_t kBehindLines = kSearchBlock + kTextSlack;

  // REQUIRES: kTextSlack bytes before the text may be read; it has kBehindLines or more, and stays as it is.
  TextPieces(std::string_view text, char separator)
      : lineBegin_(text.data()),
        begin_(text.data()),
        nextBlock_(text.data()),
        lastOfText_(text.data() + (text.size() - kBehindLines)),
        lastBlock_(text.data() + std::min(text.size() - kBehindLines, kLongestLine)),
        separator_(separator),
        lineFeed_('\n') {}

  // The next piece of the line, which may be empty; even then its first byte can be read. False when there are no more,
  // and when the line is longer than what can be searched of it.
  bool next(LinePiece& piece) {
    while (ends_ == 0) {
      if (!takeBlock()) return false;
    }
    const char* const end = base_ + static_cast<unsigned int>(std::countr_zero(ends_));
    ends_ &= ends_ - 1;
    piece = {begin_, static_cast<std::size_t>(end - begin_)};
    begin_ = end + 1;
    return true;
  }

  // Whether the piece that came last was the line's last one.
  bool atLineEnd() const { return lineEnd_ != nullptr && ends_ == 0; }

  // Goes on to the next line, of which nothing is found when there is none. REQUIRES: atLineEnd().
  void nextLine() {
    begin_ = lineBegin_ = lineEnd_ + 1;
    lineEnd_ = nullptr;
    lastBlock_ = lineBegin_ + std::min<std::ptrdiff_t>(lastOfText_ - lineBegin_, kLongestLine);
    takeEnds(separatorsBehind_, lineFeedsBehind_);
  }
  // Where the line begins.
  const char* lineBegin() const { return lineBegin_; }

 private:
  // Finds the ends of pieces in the next block.
  bool takeBlock() {
    if (lineEnd_ != nullptr || nextBlock_ > lastBlock_) return false;
    block_ = nextBlock_;
    nextBlock_ += kSearchBlock;
    takeEnds(separator_.inBlock(block_), lineFeed_.inBlock(block_));
    return true;
  }

  // Of the block's separators and line feeds, what belongs to this line; the others are kept for those behind it.
  void takeEnds(std::uint64_t separators, std::uint64_t lineFeeds) {
    base_ = block_;
    ends_ = separators;
    separatorsBehind_ = lineFeedsBehind_ = 0;
    if (lineFeeds == 0) return;
    lineEnd_ = block_ + std::countr_zero(lineFeeds);
    lineFeedsBehind_ = lineFeeds & (lineFeeds - 1);
    separatorsBehind_ = separators & ~(lineFeeds ^ (lineFeeds - 1));
    const bool endsWithReturn = lineEnd_ > lineBegin_ && lineEnd_[-1] == '\r';
    const char* const end = lineEnd_ - (endsWithReturn ? 1 : 0);
    if (end < block_) base_ = end;
    const std::uint64_t last = std::uint64_t{1} << (end - base_);
    ends_ = (separators & (last - 1)) | last;
  }

  const char* lineBegin_;
  const char* begin_;  // of the next piece
  const char* block_ = nullptr;
  const char* nextBlock_;
  const char* lastOfText_;              // no later block can be read
  const char* lastBlock_;               // no later block belongs to the line
  const char* lineEnd_ = nullptr;       // once it is found
  const char* base_ = nullptr;          // of `ends_`
  std::uint64_t ends_ = 0;              // of the line's pieces; bit i: the byte i behind the base is behind a piece
  std::uint64_t separatorsBehind_ = 0;  // of the block, behind the line; bit i: byte i of the block
  std::uint64_t lineFeedsBehind_ = 0;
  ByteSearch separator_;
  ByteSearch lineFeed_;
};

}  // namespace kyv_internal
