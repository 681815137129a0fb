#include "block_reader.h"

#include <algorithm>

namespace kyv_internal {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

}  // namespace

BlockReader::BlockReader(ByteSource& source, Framing& framing, std::size_t mostRecordBytes, std::size_t blockBytes)
    : source_(source), framing_(framing), mostRecordBytes_(mostRecordBytes), blockBytes_(blockBytes) {}

bool BlockReader::next(Block& block) {
  block.bytes.clear();
  block.bytes.append(rest_.view());
  block.skipped = 0;
  rest_.clear();
  if (dropsMark_ && !fillFirst(block)) return false;
  block.offset = offset_;
  return inOversized_ ? nextOfOversized(block) : nextRecords(block);
}

// One read into the block. False on failure; the source's end is kept in mind.
bool BlockReader::fill(Block& block) {
  const std::size_t have = block.bytes.size();
  const std::size_t room = std::max(blockBytes_ - std::min(have, blockBytes_), blockBytes_ / 4);
  const std::ptrdiff_t got = source_.read(block.bytes.prepare(room), room);
  failed_ = got < 0;
  ended_ = got <= 0;
  if (got > 0) block.bytes.commit(static_cast<std::size_t>(got));
  return !failed_;
}

bool BlockReader::fillFirst(Block& block) {
  dropsMark_ = false;
  while (!ended_ && block.bytes.size() < kByteOrderMark.size()) {
    if (!fill(block)) return false;
  }
  if (block.bytes.view().starts_with(kByteOrderMark)) block.skipped = kByteOrderMark.size();
  offset_ = block.skipped;
  return true;
}

bool BlockReader::nextRecords(Block& block) {
  for (;;) {
    const std::string_view text = block.text();
    const std::size_t whole = framing_.wholeRecords(text);
    if (whole == Framing::kBroken) {
      ended_ = true;  // whatever else the source has
      cut(block, text.size(), BlockKind::kBroken);
      return true;
    }
    if (whole > 0) {
      cut(block, whole, BlockKind::kRecords);
      return true;
    }
    if (text.size() >= mostRecordBytes_) {
      inOversized_ = true;
      framing_.restart();
      cut(block, text.size(), BlockKind::kOversized);
      return true;
    }
    if (ended_) {
      cut(block, text.size(), BlockKind::kUnfinished);
      return !text.empty();
    }
    if (!fill(block)) return false;
  }
}

// An oversized record ends where its line does, whatever it holds: there reading can begin anew.
bool BlockReader::nextOfOversized(Block& block) {
  if (block.bytes.empty() && !ended_ && !fill(block)) return false;
  const std::string_view text = block.text();
  const std::size_t lineEnd = text.find('\n');
  inOversized_ = lineEnd == std::string_view::npos;
  cut(block, inOversized_ ? text.size() : lineEnd + 1, BlockKind::kMoreOversized);
  return !text.empty();
}

void BlockReader::cut(Block& block, std::size_t textBytes, BlockKind kind) {
  block.kind = kind;
  rest_.append(block.text().substr(textBytes));
  block.bytes.truncate(block.skipped + textBytes);
  offset_ += textBytes;
}

}  // namespace kyv_internal
