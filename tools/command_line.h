#pragma once

// The command line: which commands there are, which options each takes, and what `--help` says.

namespace kyv_internal {

// Reads the arguments and runs the command that they name. Returns the process's exit status.
int runCommandLine(int count, const char* const* arguments);

}  // namespace kyv_internal
