#pragma once

// The batch that is being filled, between the threads that convert and the one that publishes. While that one is at
// work on a batch the next fills, and once it is full its rows wait: so there are two batches at most.
//
// Threads: one at a time adds; one takes.

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string_view>

#include "load_batch.h"

namespace kyv_internal {

class LoadQueue {
 public:
  // A batch is full with so many rows, or with much memory; and handed on when its first row has waited so long.
  LoadQueue(std::size_t batchRows, std::chrono::milliseconds batchTime)
      : batchRows_(batchRows), batchTime_(batchTime) {}

  // A batch of more bytes takes no further rows.
  static constexpr std::size_t kMostBatchBytes = std::size_t{8} << 20;

  // Waits while the batch is full. How many rows it takes; 0 when nobody takes them any more.
  std::size_t waitForRoom();
  // Adds so many rows, for which there is room; the last one's position is `end`.
  void add(std::string_view records, std::size_t rows, const LoadPosition& end);
  // Nothing is added any more: what there is may be taken.
  void close();

  // Waits for a batch and swaps it for `batch`, whose memory is used again. False when nothing comes any more.
  bool take(LoadBatch& batch);
  // Nothing is taken any more.
  void abandon();

 private:
  using Clock = std::chrono::steady_clock;

  bool isFull() const { return filling_.rows >= batchRows_ || filling_.records.size() >= kMostBatchBytes; }
  bool isRipe() const { return isFull() || closed_ || abandoned_; }

  const std::size_t batchRows_;
  const std::chrono::milliseconds batchTime_;
  std::mutex mutex_;  // guards what follows
  std::condition_variable changed_;
  LoadBatch filling_;
  Clock::time_point begun_;  // when it got its first row
  bool closed_ = false;
  bool abandoned_ = false;
};

}  // namespace kyv_internal
