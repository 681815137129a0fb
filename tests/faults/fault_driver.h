#pragma once

// Lets every request for memory of a piece of work be refused in turn, until the work goes through without a refusal:
// one request alone, and it with all that follow.

#include <gtest/gtest.h>

#include <new>
#include <string>

#include "tests/faults/failing_allocator.h"

namespace kyv_test {

// What work may do when memory is exhausted, besides giving a failure result.
enum class Throws { kBadAlloc, kNothing };

// Whether blocks that are left are told here, or only by a sanitizer, which tells those that nobody can reach.
enum class Blocks { kCounted, kReachable };

// How work ended, if it did not throw: with nullptr it has done all and found the right results; with kGaveUp a result
// told that it could not; any other text says what was wrong.
using Ending = const char*;
inline constexpr char kGaveUp[] = "gave up";

// Requests that were refused by all tests so far.
inline long refusedRequests = 0;

namespace faults {

// nullptr and kGaveUp are fine.
template <class Work>
Ending attempt(Throws throws, Work& work) {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    return throws == Throws::kBadAlloc ? kGaveUp : "an exception left a function that lets none out";
  } catch (...) {
    return "something else than exhausted memory was thrown";
  }
}

struct Trial {
  Ending ending;      // while a request was refused
  Ending afterwards;  // of the same work once more
  long refused;
  long left;  // blocks

  bool isGood(Blocks blocks) const {
    const bool ended = ending == nullptr || (ending == kGaveUp && refused > 0);
    return ended && afterwards == nullptr && (left == 0 || blocks == Blocks::kReachable);
  }
};

// The work of a new subject while a request is refused, then in peace.
template <class Make>
Trial refuseOne(Throws throws, Make& make, long number, Refusal refusal) {
  const long before = liveBlocks();
  Trial trial = {};
  {
    auto subject = make();
    refuseRequest(number, refusal);
    trial.ending = attempt(throws, subject);
    trial.refused = stopRefusing();
    trial.afterwards = attempt(throws, subject);
  }
  trial.left = liveBlocks() - before;
  return trial;
}

inline std::string orNothing(Ending ending) { return ending != nullptr ? ending : "all well"; }

}  // namespace faults

// `make` gives the work, a function object without arguments that can be done again and again; what it holds is made
// before a request is refused. Returns how many were refused.
template <class Make>
long refuseInTurn(const std::string& name, Throws throws, Make make, Blocks blocks = Blocks::kCounted) {
  long all = 0;
  (void)make()();  // sets up what a process keeps
  for (const Refusal refusal : {Refusal::kOnce, Refusal::kFromThenOn}) {
    for (long number = 1;; ++number) {
      const faults::Trial trial = faults::refuseOne(throws, make, number, refusal);
      EXPECT_TRUE(trial.isGood(blocks)) << name << ", request " << number
                                        << (refusal == Refusal::kOnce ? " alone" : " and all that follow") << ": "
                                        << faults::orNothing(trial.ending) << "; afterwards "
                                        << faults::orNothing(trial.afterwards) << "; blocks left: " << trial.left;
      if (trial.refused == 0 || !trial.isGood(blocks)) break;
      ++all;
    }
  }
  refusedRequests += all;
  return all;
}

}  // namespace kyv_test
