#include "load_queue.h"

#include <utility>

namespace kyv_internal {

std::size_t LoadQueue::waitForRoom() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return abandoned_ || !isFull(); });
  return abandoned_ ? 0 : batchRows_ - filling_.rows;
}

void LoadQueue::add(std::string_view records, std::size_t rows, const LoadPosition& end) {
  const std::lock_guard lock(mutex_);
  if (filling_.rows == 0) begun_ = Clock::now();
  filling_.records.append(records);
  filling_.rows += rows;
  filling_.end = end;
  changed_.notify_all();
}

void LoadQueue::close() {
  const std::lock_guard lock(mutex_);
  closed_ = true;
  changed_.notify_all();
}

bool LoadQueue::take(LoadBatch& batch) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return isRipe() || filling_.rows > 0; });
  changed_.wait_until(lock, begun_ + batchTime_, [&] { return isRipe(); });
  if (abandoned_ || filling_.rows == 0) return false;
  batch.clear();
  std::swap(batch, filling_);
  changed_.notify_all();
  return true;
}

void LoadQueue::abandon() {
  const std::lock_guard lock(mutex_);
  abandoned_ = true;
  changed_.notify_all();
}

}  // namespace kyv_internal
