#include "block_pipeline.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

namespace kyv_internal {
namespace {

bool isLarge(int number) { return number % 7 == 6; }

// Squares the numbers below `count` and returns them as written; stops after the square that is `last`.
std::vector<int> squares(std::size_t threads, int count, int last = -1) {
  std::vector<int> slots(threads);
  std::vector<int> written;
  int next = 0;
  bool largeWaits = false;  // to be written
  runBlocks(threads, {[&](std::size_t slot) {
                        slots[slot] = next;
                        if (next == count) return BlockRead::kNone;
                        EXPECT_FALSE(largeWaits) << "read beside a large block: " << next;
                        largeWaits = isLarge(next++);
                        return largeWaits ? BlockRead::kLarge : BlockRead::kUsual;
                      },
                      [&](std::size_t slot) { slots[slot] *= slots[slot]; },
                      [&](std::size_t slot) {
                        written.push_back(slots[slot]);
                        if (isLarge(static_cast<int>(written.size()) - 1)) largeWaits = false;
                        return slots[slot] != last;
                      }});
  return written;
}

TEST(BlockPipeline, WritesInTheOrderOfReading) {
  for (const std::size_t threads : {1, 2, 3, 8}) {
    const std::vector<int> written = squares(threads, 500);
    ASSERT_EQ(written.size(), 500U) << threads;
    for (int i = 0; i < 500; ++i) ASSERT_EQ(written[static_cast<std::size_t>(i)], i * i) << threads;
    EXPECT_EQ(squares(threads, 0), std::vector<int>()) << threads;
  }
}

TEST(BlockPipeline, WritesNothingAfterAStop) {
  for (const std::size_t threads : {1, 2, 8}) EXPECT_EQ(squares(threads, 500, 4), (std::vector<int>{0, 1, 4}));
}

TEST(BlockPipeline, ThrowsWhatAStepThrows) {
  for (const std::size_t threads : {1, 2, 8}) {
    int next = 0;
    const BlockSteps steps = {[&](std::size_t) { return next++ < 100 ? BlockRead::kUsual : BlockRead::kNone; },
                              [](std::size_t) { throw std::runtime_error("full"); }, [](std::size_t) { return true; }};
    EXPECT_THROW(runBlocks(threads, steps), std::runtime_error) << threads;
  }
}

}  // namespace
}  // namespace kyv_internal
