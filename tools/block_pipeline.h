#pragma once

// Work on blocks of data by several threads, with input and output in order. Each thread has a slot of its own, in
// which it reads a block, works on it and writes it, again and again: reading happens one thread at a time, and so does
// writing, in the order of reading; only the work runs side by side. Memory is bounded by the slots, of which one at
// most holds a block that is large.

#include <cstddef>
#include <functional>

namespace kyv_internal {

// A large block is written before anything else is read.
enum class BlockRead { kNone, kUsual, kLarge };

struct BlockSteps {
  std::function<BlockRead(std::size_t slot)> read;  // none when there is no more
  std::function<void(std::size_t slot)> work;       // any number at once, each on its own slot
  std::function<bool(std::size_t slot)> write;      // false to stop the run: no later block is written
};

// Runs the steps on `threads` threads, at least 1; one of them is the caller's. What a step throws is thrown to the
// caller once all threads have ended. Where the system gives fewer threads, these do it all.
void runBlocks(std::size_t threads, const BlockSteps& steps);

}  // namespace kyv_internal
