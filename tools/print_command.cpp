#include <utility>

#include "commands.h"
#include "complaint.h"
#include "print_plan.h"
#include "schema_file.h"

namespace kyv_internal {

// Records back to text.
ExitStatus runPrint(const CommandOptions& options) {
  SchemaFile file;
  std::string error;
  if (!readSchemaFile(options.schema, file, error)) {
    complain(error);
    return ExitStatus::kFiles;
  }
  PrintPlan print;
  if (!planPrint(options, file, RowNumbers::kNone, print)) return ExitStatus::kUsage;
  return ConversionRun(options, std::move(print.plan), std::move(print.sink)).run();
}

}  // namespace kyv_internal
