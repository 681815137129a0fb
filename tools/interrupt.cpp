#include "interrupt.h"

#include <csignal>

namespace kyv_internal {
namespace {

// A signal handler can reach nothing but a global.
volatile std::sig_atomic_t g_interrupted = 0;

void noteInterrupt(int) { g_interrupted = 1; }

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

bool interrupted() { return g_interrupted != 0; }

}  // namespace kyv_internal
