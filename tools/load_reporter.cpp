#include "load_reporter.h"

#include <utility>

namespace kyv_internal {

LoadReporter::LoadReporter(std::chrono::seconds between, std::function<void()> tell)
    : between_(between), tell_(std::move(tell)), thread_([this] { run(); }) {}

LoadReporter::~LoadReporter() {
  {
    const std::lock_guard lock(mutex_);
    ends_ = true;
  }
  ended_.notify_all();
  thread_.join();
}

void LoadReporter::run() {
  std::unique_lock lock(mutex_);
  while (!ended_.wait_for(lock, between_, [&] { return ends_; })) tell_();
}

}  // namespace kyv_internal
