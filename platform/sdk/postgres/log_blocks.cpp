#include "platform/sdk/postgres/log_blocks.h"

#include <string>

namespace kyv_internal {

namespace {

constexpr std::size_t kSizeBytes = 4;

class BlockPacker {
 public:
  BlockPacker(std::int64_t stream, std::int64_t last) : stream_(stream), last_(last) {}

  void add(std::string_view record) {
    if (!block_.empty() && block_.size() + kSizeBytes + record.size() > kBlockBytes) endBlock();
    appendNumber32(block_, static_cast<std::uint32_t>(record.size()));
    block_.append(record);
    ++last_;
  }

  std::vector<Parameters> finish() {
    if (!block_.empty()) endBlock();
    endPiece();
    return std::move(pieces_);
  }

 private:
  void endBlock() {
    if (blocks_.size() + block_.size() > kPieceBytes) endPiece();
    numbers_.addNumber(last_);
    blocks_.addBytes(block_);
    block_.clear();
    isPieceEmpty_ = false;
  }

  void endPiece() {
    if (!isPieceEmpty_) pieces_.push_back(std::move(Parameters().number(stream_).array(numbers_).array(blocks_)));
    isPieceEmpty_ = true;
  }

  const std::int64_t stream_;
  std::int64_t last_;
  std::string block_;
  ArrayParameter numbers_{ArrayParameter::Of::Numbers};
  ArrayParameter blocks_{ArrayParameter::Of::Bytes};
  bool isPieceEmpty_ = true;
  std::vector<Parameters> pieces_;
};

// Takes the first record off a block; false when its size leads outside.
bool takeRecord(std::string_view& block, std::string_view& record) {
  if (block.size() < kSizeBytes) return false;
  const std::size_t size = number32At(block.data());
  block.remove_prefix(kSizeBytes);
  if (size > block.size()) return false;
  record = block.substr(0, size);
  block.remove_prefix(size);
  return true;
}

// How many records there are; -1 when the block is damaged.
std::int64_t countRecords(std::string_view block) {
  std::int64_t count = 0;
  for (std::string_view record; !block.empty(); ++count) {
    if (!takeRecord(block, record)) return -1;
  }
  return count;
}

}  // namespace

std::vector<Parameters> packBlocks(std::int64_t stream, std::int64_t last, std::span<const PublishedRow> rows) {
  BlockPacker packer(stream, last);
  for (const PublishedRow& row : rows) packer.add(row.record);
  return packer.finish();
}

bool unpackBlock(std::string_view block, std::int64_t last, std::int64_t after, RowChunk& chunk) {
  const std::int64_t count = countRecords(block);
  if (count < 0 || count > last) return false;
  std::int64_t number = last - count;
  for (std::string_view record; takeRecord(block, record);) {
    if (++number <= after) continue;
    chunk.rows.push_back({number, chunk.bytes.size(), record.size()});
    chunk.bytes.append(record);
  }
  return true;
}

}  // namespace kyv_internal
