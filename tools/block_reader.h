#pragma once

// Cuts a source of bytes into blocks of whole records, in memory that does not grow with the source. What arrives is
// handed on as soon as a record is complete, so a slow pipe is served at once.
//
// Threads: one at a time may ask for the next block; blocks themselves are independent of each other.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "byte_source.h"
#include "framing.h"
#include "kyv/byte_buffer.h"

namespace kyv_internal {

enum class BlockKind {
  kRecords,        // whole records
  kUnfinished,     // the source's end, without the end of its last record
  kOversized,      // the beginning of a record that is longer than a record may be
  kMoreOversized,  // more of it, up to the end of a line
  kBroken,         // no record can start here; nothing follows
};

struct Block {
  kyv::ByteBuffer bytes;
  std::size_t skipped = 0;  // bytes at the start that are no data
  BlockKind kind = BlockKind::kRecords;
  std::uint64_t offset = 0;  // of the text, in the source

  std::string_view text() const { return bytes.view().substr(skipped); }
};

// Large enough that a block's fixed costs vanish, small enough to stay in the processor's cache.
inline constexpr std::size_t kBlockBytes = std::size_t{256} * 1024;

class BlockReader {
 public:
  // Records longer than `mostRecordBytes` are not kept in memory: text comes as kOversized and kMoreOversized. Blocks
  // are of about `blockBytes`, but for those of one longer record. Source and framing must outlive the reader.
  BlockReader(ByteSource& source, Framing& framing, std::size_t mostRecordBytes, std::size_t blockBytes = kBlockBytes);

  // A UTF-8 byte order mark at the start is no data. Called before the first block.
  void dropByteOrderMark() { dropsMark_ = true; }

  // Reads the next block, which is never empty, into `block` (its old content is forgotten). False at the end, or when
  // the source failed.
  bool next(Block& block);

  // Whether the last block was missed because the source failed.
  bool failed() const { return failed_; }

 private:
  bool fill(Block& block);
  bool fillFirst(Block& block);
  void cut(Block& block, std::size_t textBytes, BlockKind kind);
  bool nextRecords(Block& block);
  bool nextOfOversized(Block& block);

  ByteSource& source_;
  Framing& framing_;
  std::size_t mostRecordBytes_;
  std::size_t blockBytes_;
  bool dropsMark_ = false;  // before the first block
  bool ended_ = false;
  bool failed_ = false;
  bool inOversized_ = false;
  kyv::ByteBuffer rest_;  // bytes read that belong to the next block
  std::uint64_t offset_ = 0;
};

}  // namespace kyv_internal
