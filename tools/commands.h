#pragma once

// The commands. Each is given what the command line says, tells what there is to tell, and returns the tool's exit
// status; the command table is in command_line.cpp.

#include "command_options.h"
#include "exit_status.h"

namespace kyv_internal {

ExitStatus runInfer(const CommandOptions& options);
ExitStatus runConvert(const CommandOptions& options);
ExitStatus runPrint(const CommandOptions& options);
ExitStatus runCheck(const CommandOptions& options);
ExitStatus runRead(const CommandOptions& options);
ExitStatus runInspect(const CommandOptions& options);
ExitStatus runLoad(const CommandOptions& options);
ExitStatus runTime(const CommandOptions& options);

}  // namespace kyv_internal
