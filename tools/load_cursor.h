#pragma once

// Goes through the rows of an input with the delivery's position: passes over what an earlier run has delivered, and
// tells the position behind each row that follows.
//
// Threads: one at a time.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "load_position.h"
#include "row_converter.h"
#include "row_sink.h"

namespace kyv_internal {

// Why a delivery that has come to this position cannot be continued with, or without, a key column; empty when it can.
std::string refuseStart(const std::optional<LoadPosition>& start, bool hasKeyColumn, const std::string& adapter);

class LoadCursor {
 public:
  struct KeyColumn {
    int column;
    bool isLong;  // or an integer
  };

  // A delivery that has come to `start`, or one that is new; they agree on whether there is a key column.
  LoadCursor(std::optional<KeyColumn> keyColumn, std::optional<LoadPosition> start)
      : keyColumn_(keyColumn), start_(start), last_(start) {}

  // What a sink is asked (row_sink.h).
  std::uint64_t rowsToSkip() const { return start_ && !keyColumn_ ? static_cast<std::uint64_t>(start_->key) : 0; }
  void passOver(std::uint64_t rows) { row_ += rows; }
  DoneRows findDone(const ConvertedBlock& block);

  // Goes on over the record at this byte of the block that findDone was asked of, and gives its size; 0, with a fault,
  // when its key cannot be.
  std::size_t advance(const ConvertedBlock& block, std::size_t at);
  // Goes on to the end of the block, behind its last record.
  void leave(const ConvertedBlock& block);

  // Behind the last row; nothing before the first.
  const std::optional<LoadPosition>& position() const { return last_; }
  // Why the input cannot be the one of this delivery; empty when nothing says so. At the end it must have come to where
  // the delivery was, unless it has none of the delivery's keys.
  const std::string& fault() const { return fault_; }
  std::string faultAtEnd() const;

 private:
  bool isBehind() const;
  void passGaps(const ConvertedBlock& block, std::size_t at);
  bool passDone(std::string_view record);
  bool countRow(std::string_view record);
  std::int64_t keyOf(std::string_view record) const;

  std::optional<KeyColumn> keyColumn_;
  std::optional<LoadPosition> start_;
  std::optional<LoadPosition> last_;
  std::uint64_t row_ = 0;       // the last one's number in the input
  bool sawDone_ = false;        // rows that the delivery has, with a key column
  std::int64_t startRows_ = 0;  // with the start's key, seen so far
  std::size_t gap_ = 0;         // the block's first that is still to come
  std::string fault_;
};

}  // namespace kyv_internal
