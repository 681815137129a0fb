#include "read_source.h"

#include <algorithm>

#include "interrupt.h"
#include "row2/row2_layout.h"

namespace kyv_internal {
namespace {

constexpr int kWaitMillis = 100;  // between two looks at whether a signal has come

}  // namespace

std::ptrdiff_t ReadSource::read(char* into, std::size_t capacity) {
  for (;;) {
    if (interrupted()) return end_.follows ? 0 : -1;
    const std::size_t filled = fill(into, capacity);
    if (filled > 0) return static_cast<std::ptrdiff_t>(filled);
    if (failed_) return -1;
    if (!end_.follows || end_.limit == 0) return 0;
    check(project_.wait(kWaitMillis));
  }
}

std::size_t ReadSource::fill(char* into, std::size_t capacity) {
  std::size_t filled = 0;
  while (filled < capacity && (!rest_.empty() || nextRow())) {
    const std::size_t size = rest_.copy(into + filled, capacity - filled);
    rest_.remove_prefix(size);
    filled += size;
  }
  return filled;
}

// False when there is none now, when there have been enough, and on failure.
bool ReadSource::nextRow() {
  StreamRow row;
  if (failed_ || end_.limit == 0 || !check(project_.next(row)) || row.record.empty()) return false;
  --end_.limit;
  row_.resize(sizeof row.number);
  store(row_.data(), row.number);
  row_.append(row.record);
  rest_ = row_;
  return true;
}

bool ReadSource::check(bool done) {
  if (!done) error_ = project_.error();
  failed_ = failed_ || !done;
  return done;
}

}  // namespace kyv_internal
