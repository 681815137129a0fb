#include "print_plan.h"

#include <cstdint>
#include <limits>

#include "complaint.h"
#include "field_order.h"
#include "file_sink.h"
#include "record_header.h"

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

bool planPrint(const CommandOptions& options, const SchemaFile& schema, RowNumbers numbers, PrintPlan& print) {
  const TextLayout layout = TextLayout::merge(options.text, schema.text);
  std::string error;
  if (!layout.checkModels(ModelUse::kPrint, error)) {
    complain(error);
    return false;
  }
  std::vector<kyv::RecordPrinter::Column> columns;
  if (!readColumns(options, schema.schema(), columns)) return false;
  print.plan.rows = RowForm::kRecords;
  print.plan.framing = numbers == RowNumbers::kNone
                           ? std::make_unique<RecordFraming>(kMostRecordBytes)
                           : std::make_unique<RecordFraming>(INT32_MAX, kLeastRecordBytes, kRowNumberBytes);
  print.plan.mostRowBytes = std::numeric_limits<std::size_t>::max();
  print.plan.makeConverter = [schema = schema.schema(), layout, form = options.form, columns, numbers] {
    return makeRecordRows(schema, layout, form, columns, numbers);
  };
  const bool header = options.text.header.value_or(false) && options.form == PrintForm::kDelimited;
  print.sink = std::make_unique<FileSink>(options.output, FileSink::Content::kText,
                                          header ? headerLine(columns, layout, numbers) : "");
  return true;
}

}  // namespace kyv_internal
