#pragma once

// Stands in front of the process's allocator, for the C and C++ libraries too, and refuses requests for memory when it
// is told to. The program that links it has one thread.

namespace kyv_test {

// One request alone, or it and all that follow.
enum class Refusal { kOnce, kFromThenOn };

// From now on the request of this number is refused; the next one is number 1.
void refuseRequest(long number, Refusal refusal);
// Ends that. How many were refused.
long stopRefusing();

// Blocks that were given and not yet given back; always 0 under a sanitizer, which has an eye on them itself.
long liveBlocks();

}  // namespace kyv_test
