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
             const std::vector<kyv::RecordPrinter::Column>& columns, RowNumbers numbers)
      : schema_(schema),
        form_(form),
        separator_(layout.separator.value_or(kDefaultSeparator)),
        numbers_(numbers),
        lead_(numbers == RowNumbers::kNone ? 0 : kRowNumberBytes),
        printer_(schema_),
        checker_(schema_) {
    layout.applyFormats(printer_);
    printer_.setSeparator(separator_);
    printer_.setWithService(layout.service);
    printer_.setColumns(columns);
  }

  RowFault explain(std::string_view row, unsigned long recordNo) override {
    kyv::ByteBuffer unused;
    appendChecked(row, recordNo, unused);
    return lastFault(-1);
  }

 private:
  Extent readRow(std::string_view text) override {
    return {lead_ + static_cast<std::size_t>(recordLength(text.data() + lead_)), 0};
  }

  bool appendRow(std::string_view row, unsigned long recordNo, kyv::ByteBuffer& out) override {
    if (numbers_ != RowNumbers::kShown) return appendAnyOrder(row.substr(lead_), recordNo, out);
    line_.clear();
    if (!appendAnyOrder(row.substr(lead_), recordNo, line_)) return false;
    out.append(headOf(row, recordNo));
    out.append(line_.view().substr(form_ == PrintForm::kJson ? 1 : 0));
    return true;
  }

  // What stands before a row's own fields, or its own members behind the brace.
  std::string headOf(std::string_view row, unsigned long recordNo) {
    const auto number = static_cast<long long>(load<std::int64_t>(row.data()));
    const int operation = load<std::int32_t>(at(row.data() + lead_, kOpcodeOffset));
    char letter = '?';
    letters_.printOp(letter, operation, recordNo, &errors_);
    if (form_ == PrintForm::kJson) return strprintf("{\"row\":%lld,\"op\":\"%c\",", number, letter);
    return strprintf("%lld%c%c%c", number, separator_, letter, separator_);
  }

  bool appendAnyOrder(std::string_view row, unsigned long recordNo, kyv::ByteBuffer& out) {
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
  char separator_;
  RowNumbers numbers_;
  std::size_t lead_;  // bytes before each record
  kyv::RecordPrinter printer_;
  RecordChecker checker_;
  ConnectionRowByOrder letters_;  // knows those of operations
  kyv::ByteBuffer line_;          // without what leads it
};

}  // namespace

std::unique_ptr<RowConverter> makeRecordRows(const kyv::StreamSchema& schema, const TextLayout& layout, PrintForm form,
                                             const std::vector<kyv::RecordPrinter::Column>& columns,
                                             RowNumbers numbers) {
  return std::make_unique<RecordRows>(schema, layout, form, columns, numbers);
}

std::vector<kyv::RecordPrinter::Column> columnsOf(const kyv::StreamSchema& schema) {
  std::vector<kyv::RecordPrinter::Column> columns;
  columns.reserve(static_cast<std::size_t>(schema.getColumnCount()));
  for (int i = 0; i < schema.getColumnCount(); ++i) columns.push_back({i, schema.getColumnName(i)});
  return columns;
}

// A header is printed like any record, of columns that hold their own names.
std::string headerLine(const std::vector<kyv::RecordPrinter::Column>& columns, const TextLayout& layout,
                       RowNumbers numbers) {
  std::vector<kyv::StreamColumn> names;
  if (numbers == RowNumbers::kShown) names = {{"row", DataTypes::kString}, {"operation", DataTypes::kString}};
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
