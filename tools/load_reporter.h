#pragma once

// Tells the statistics of a load again and again, from a thread of its own that lives as long as the reporter.

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace kyv_internal {

class LoadReporter {
 public:
  LoadReporter(std::chrono::seconds between, std::function<void()> tell);
  LoadReporter(const LoadReporter&) = delete;
  LoadReporter& operator=(const LoadReporter&) = delete;
  ~LoadReporter();

 private:
  void run();

  const std::chrono::seconds between_;
  const std::function<void()> tell_;
  std::mutex mutex_;
  std::condition_variable ended_;
  bool ends_ = false;
  std::thread thread_;
};

}  // namespace kyv_internal
