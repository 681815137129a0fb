#include <limits>

#include "commands.h"
#include "complaint.h"
#include "conversion_run.h"
#include "field_order.h"
#include "file_sink.h"
#include "record_header.h"
#include "record_rows.h"
#include "schema_file.h"

namespace kyv_internal {
namespace {

// What to print in which order. False, with a complaint, when --permutation makes no sense.
bool readColumns(const CommandOptions& options, const kyv::StreamSchema& schema,
                 std::vector<kyv::RecordPrinter::Column>& columns) {
  columns = columnsOf(schema);
  if (options.permutation.empty()) return true;
  FieldOrder order;
  if (!order.read(options.permutation, schema)) {
    complainInLines(order.fault());
    return false;
  }
  order.useNumbersOrPairs();
  columns.clear();
  for (const std::string& name : order.permutation().externalOrder()) {
    columns.push_back({order.columnOf(static_cast<int>(columns.size())), name});
  }
  return true;
}

}  // namespace

// Records back to text.
ExitStatus runPrint(const CommandOptions& options) {
  SchemaFile file;
  std::string error;
  if (!readSchemaFile(options.schema, file, error)) {
    complain(error);
    return ExitStatus::kFiles;
  }
  const TextLayout layout = TextLayout::merge(options.text, file.text);
  if (!layout.checkModels(ModelUse::kPrint, error)) {
    complain(error);
    return ExitStatus::kUsage;
  }
  const bool header = options.text.header.value_or(false) && options.form == PrintForm::kDelimited;
  std::vector<kyv::RecordPrinter::Column> columns;
  if (!readColumns(options, file.schema(), columns)) return ExitStatus::kUsage;
  ConversionPlan plan;
  plan.rows = RowForm::kRecords;
  plan.framing = std::make_unique<RecordFraming>(kMostRecordBytes);
  plan.mostRowBytes = std::numeric_limits<std::size_t>::max();
  plan.makeConverter = [schema = file.schema(), layout, form = options.form, columns] {
    return makeRecordRows(schema, layout, form, columns);
  };
  auto sink =
      std::make_unique<FileSink>(options.output, FileSink::Content::kText, header ? headerLine(columns, layout) : "");
  return ConversionRun(options, std::move(plan), std::move(sink)).run();
}

}  // namespace kyv_internal
