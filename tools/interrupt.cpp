#include "interrupt.h"

#include <atomic>
#include <csignal>

namespace kyv_internal {
namespace {

// A signal handler can reach nothing but a global.
std::atomic<bool> g_interrupted = false;
static_assert(std::atomic<bool>::is_always_lock_free);

void noteInterrupt(int) { g_interrupted = true; }

}  // namespace

void catchInterrupts() {
  struct sigaction action = {};
  action.sa_handler = noteInterrupt;
  action.sa_flags = static_cast<int>(SA_RESETHAND);  // without SA_RESTART: a blocked read wakes up
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  // A reader that has gone and a file that may not grow are told by the write that fails.
  std::signal(SIGPIPE, SIG_IGN);  // NOLINT(cert-err33-c): cannot fail for this signal
  std::signal(SIGXFSZ, SIG_IGN);  // NOLINT(cert-err33-c)
}

bool interrupted() { return g_interrupted; }

void interruptInput() { g_interrupted = true; }

}  // namespace kyv_internal
