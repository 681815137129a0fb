#pragma once

// Ctrl-C and termination, turned into a question that a run asks between two blocks of data, so that it can leave its
// files in order.

namespace kyv_internal {

// From now on the first SIGINT or SIGTERM is only noted; a second one ends the process as it always did. A write into a
// closed pipe fails instead of ending the process.
void catchInterrupts();

// Whether one has arrived. Any thread may ask.
bool interrupted();

// As if one had arrived, for a run that waits for input which it has no use for any more. Any thread may call.
void interruptInput();

}  // namespace kyv_internal
