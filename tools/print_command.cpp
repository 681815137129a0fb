#include <limits>

#include "commands.h"
#include "complaint.h"
#include "conversion_run.h"
#include "record_header.h"
#include "record_rows.h"
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
  const TextLayout layout = TextLayout::merge(options.text, file.text);
  const bool header = options.text.header.value_or(false) && options.form == PrintForm::kDelimited;
  ConversionPlan plan;
  plan.rows = RowForm::kRecords;
  plan.framing = std::make_unique<RecordFraming>(kMostRecordBytes);
  plan.mostRowBytes = std::numeric_limits<std::size_t>::max();
  plan.makeConverter = [schema = file.schema(), layout, form = options.form] {
    return makeRecordRows(schema, layout, form);
  };
  if (header) plan.preamble = headerLine(file.schema(), layout);
  return ConversionRun(options, std::move(plan)).run();
}

}  // namespace kyv_internal
