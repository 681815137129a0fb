#pragma once

// What the tool's exit status tells a script.

namespace kyv_internal {

enum class ExitStatus {
  kOk = 0,
  kBadRows = 1,  // the run went through, but not every row
  kUsage = 2,    // the command line is wrong; nothing was done
  kFiles = 3,    // a file is broken, missing, or could not be written
  kServer = 4,
  kInterrupted = 5,
};

}  // namespace kyv_internal
