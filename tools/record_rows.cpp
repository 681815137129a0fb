#include "record_rows.h"

#include <string>
#include <string_view>
#include <vector>

#include "kyv/connection_row_by_order.h"
#include "kyv/data_types.h"
#include "kyv/record_printer.h"
#include "kyv/string_utility.h"
#include "record_checker.h"
#include "record_header.h"

namespace kyv_internal {
namespace {

using DALVON::Kyv::strprintf;

class RecordRows final : public RowConverter {
 public:
  RecordRows(const kyv::StreamSchema& schema, const TextLayout& layout, PrintForm form,
             const std::vector<kyv::RecordPrinter::Column>& columns)
      : schema_(schema), form_(form), printer_(schema_), checker_(schema_) {
    layout.applyFormats(printer_);
    printer_.setSeparator(layout.separator.value_or(kDefaultSeparator));
    printer_.setWithService(layout.service);
    printer_.setColumns(columns);
  }

  RowFault explain(std::string_view row, unsigned long recordNo) override {
    kyv::ByteBuffer unused;
    appendChecked(row, recordNo, unused);
    return lastFault(-1);
  }

 private:
  Extent readRow(std::string_view text) override { return {static_cast<std::size_t>(recordLength(text.data())), 0}; }

  bool appendRow(std::string_view row, unsigned long recordNo, kyv::ByteBuffer& out) override {
    if (RecordChecker::isHostOrder(row)) return appendRecord(row, recordNo, out);
    std::string error;
    const std::string_view converted = checker_.toHostOrder(row, error);
    if (!converted.empty()) return appendRecord(converted, recordNo, out);
    errors_.addGeneral(strprintf("record %lu: %s", recordNo, error.c_str()));
    return false;
  }

  // Of a record in this machine's byte order.
  bool appendRecord(std::string_view row, unsigned long recordNo, kyv::ByteBuffer& out) {
    const auto columns = static_cast<int>(recordColumns(row.data()));
    if (columns != schema_.getColumnCount()) {
      errors_.addGeneral(
          strprintf("record %lu: has %d columns, the schema has %d", recordNo, columns, schema_.getColumnCount()));
      return false;
    }
    if (form_ == PrintForm::kJson) return printer_.appendJson(row.data(), recordNo, errors_, out);
    return printer_.appendDelimited(row.data(), recordNo, errors_, out);
  }

  bool skipsBlankLines() const override { return false; }

  kyv::StreamSchema schema_;
  PrintForm form_;
  kyv::RecordPrinter printer_;
  RecordChecker checker_;
};

}  // namespace

std::unique_ptr<RowConverter> makeRecordRows(const kyv::StreamSchema& schema, const TextLayout& layout, PrintForm form,
                                             const std::vector<kyv::RecordPrinter::Column>& columns) {
  return std::make_unique<RecordRows>(schema, layout, form, columns);
}

std::vector<kyv::RecordPrinter::Column> columnsOf(const kyv::StreamSchema& schema) {
  std::vector<kyv::RecordPrinter::Column> columns;
  for (int i = 0; i < schema.getColumnCount(); ++i) columns.push_back({i, schema.getColumnName(i)});
  return columns;
}

// A header is printed like any record, of columns that hold their own names.
std::string headerLine(const std::vector<kyv::RecordPrinter::Column>& columns, const TextLayout& layout) {
  std::vector<kyv::StreamColumn> names;
  if (layout.service) names = {{"stream", DataTypes::kString}, {"operation", DataTypes::kString}};
  for (const kyv::RecordPrinter::Column& column : columns) names.push_back({column.name, DataTypes::kString});
  kyv::StreamSchema header("header", 0, names);
  ConnectionRowByOrder row;
  row.setStreamType(&header, false);
  for (const kyv::StreamColumn& column : names) row.appendFieldAsString(column.name);

  ConnectionErrors unused;
  kyv::ByteBuffer record;
  kyv::ByteBuffer line;
  kyv::RecordPrinter printer(header);
  printer.setSeparator(layout.separator.value_or(kDefaultSeparator));
  if (row.appendRow(0, unused, record)) printer.appendDelimited(record.data(), 0, unused, line);
  return std::string(line.view());
}

}  // namespace kyv_internal
