#pragma once

// How records are printed, wherever they come from.

#include <memory>

#include "command_options.h"
#include "conversion_run.h"
#include "record_rows.h"
#include "row_sink.h"
#include "schema_file.h"

namespace kyv_internal {

struct PrintPlan {
  ConversionPlan plan;  // its source is the caller's to choose
  std::unique_ptr<RowSink> sink;
};

// For records of a schema, as the options say. False, with a complaint, when these make no sense.
[[nodiscard]] bool planPrint(const CommandOptions& options, const SchemaFile& schema, RowNumbers numbers,
                             PrintPlan& print);

}  // namespace kyv_internal
