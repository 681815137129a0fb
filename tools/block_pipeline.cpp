#include "block_pipeline.h"

#include <condition_variable>
#include <cstdint>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace kyv_internal {
namespace {

class Pipeline {
 public:
  explicit Pipeline(const BlockSteps& steps) : steps_(steps) {}

  // One thread's share. Throws nothing: what a step throws ends the run and is kept.
  void run(std::size_t slot) noexcept {
    try {
      while (runBlock(slot)) continue;
    } catch (...) {
      stop(std::current_exception());
    }
  }

  void rethrow() const {
    if (thrown_) std::rethrow_exception(thrown_);
  }

 private:
  // False when there are no more.
  bool runBlock(std::size_t slot) {
    std::unique_lock lock(reading_);
    const BlockRead block = stopped() ? BlockRead::kNone : steps_.read(slot);
    if (block == BlockRead::kNone) {
      exhausted_ = true;
      return false;
    }
    const std::uint64_t turn = blocksRead_++;
    if (block == BlockRead::kUsual) lock.unlock();
    steps_.work(slot);
    write(slot, turn);
    return true;
  }

  void write(std::size_t slot, std::uint64_t turn) {
    std::unique_lock lock(writing_);
    turnChanged_.wait(lock, [&] { return stopped_ || turn == blocksWritten_; });
    if (stopped_) return;
    if (!steps_.write(slot)) stopped_ = true;
    ++blocksWritten_;
    turnChanged_.notify_all();
  }

  // Called with reading_ held.
  bool stopped() {
    const std::lock_guard lock(writing_);
    return stopped_ || exhausted_;
  }

  void stop(std::exception_ptr thrown) {
    const std::lock_guard lock(writing_);
    if (!thrown_) thrown_ = std::move(thrown);
    stopped_ = true;
    turnChanged_.notify_all();
  }

  const BlockSteps& steps_;
  std::mutex reading_;  // guards the read step and these two; taken before writing_
  std::uint64_t blocksRead_ = 0;
  bool exhausted_ = false;
  std::mutex writing_;  // guards the write step and the rest
  std::condition_variable turnChanged_;
  std::uint64_t blocksWritten_ = 0;
  bool stopped_ = false;
  std::exception_ptr thrown_;
};

}  // namespace

void runBlocks(std::size_t threads, const BlockSteps& steps) {
  Pipeline pipeline(steps);
  std::vector<std::thread> others;
  try {
    for (std::size_t slot = 1; slot < threads; ++slot) others.emplace_back([&, slot] { pipeline.run(slot); });
  } catch (const std::system_error&) {
    // No more threads to be had: those that run share the work.
  }
  pipeline.run(0);
  for (std::thread& other : others) other.join();
  pipeline.rethrow();
}

}  // namespace kyv_internal
