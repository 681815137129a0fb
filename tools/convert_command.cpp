#include "commands.h"
#include "complaint.h"
#include "conversion_run.h"
#include "schema_file.h"
#include "text_rows.h"

namespace kyv_internal {
namespace {

std::unique_ptr<Framing> framingOf(const TextLayout& layout) {
  if (!layout.quoted.value_or(false)) return std::make_unique<LineFraming>();
  return std::make_unique<QuotedFraming>(layout.separator.value_or(kDefaultSeparator));
}

}  // namespace

// Text lines to records.
ExitStatus runConvert(const CommandOptions& options) {
  SchemaFile file;
  std::string error;
  if (!readSchemaFile(options.schema, file, error)) {
    complain(error);
    return ExitStatus::kFiles;
  }
  const TextLayout layout = TextLayout::merge(options.text, file.text);
  ConversionPlan plan;
  plan.rows = RowForm::kText;
  plan.firstLine = layout.header.value_or(false) ? FirstLine::kHeader : FirstLine::kRow;
  plan.framing = framingOf(layout);
  plan.mostRowBytes = kMostTextRowBytes;
  plan.makeConverter = [schema = file.schema(), layout] { return makeTextRows(schema, layout); };
  for (const kyv::StreamColumn& column : file.columns) plan.columns.push_back(column.name);
  return ConversionRun(options, std::move(plan)).run();
}

}  // namespace kyv_internal
