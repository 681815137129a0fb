#pragma once

// What converting delimited text takes, from the schema file and the command line.

#include "command_options.h"
#include "conversion_run.h"
#include "exit_status.h"
#include "schema_file.h"

namespace kyv_internal {

struct TextConversion {
  SchemaFile schema;
  ConversionPlan plan;
};

// Fills the conversion. Anything but kOk was complained about.
[[nodiscard]] ExitStatus planTextConversion(const CommandOptions& options, TextConversion& conversion);

}  // namespace kyv_internal
