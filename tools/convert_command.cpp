#include "commands.h"
#include "complaint.h"
#include "conversion_run.h"
#include "field_order.h"
#include "schema_file.h"
#include "text_rows.h"

namespace kyv_internal {
namespace {

std::unique_ptr<Framing> framingOf(const TextLayout& layout) {
  if (!layout.quoted.value_or(false)) return std::make_unique<LineFraming>();
  return std::make_unique<QuotedFraming>(layout.separator.value_or(kDefaultSeparator));
}

// The order of --permutation, or none. What the fields are called is known when the header was read.
bool readFieldOrder(const CommandOptions& options, const TextLayout& layout, const kyv::StreamSchema& schema,
                    ConversionPlan& plan, std::shared_ptr<FieldOrder>& order) {
  if (options.permutation.empty()) return true;
  order = std::make_shared<FieldOrder>();
  const bool good = order->read(options.permutation, schema) && (layout.header.value_or(false) || order->useNumbers());
  if (!good) complainInLines(order->fault());
  plan.takeHeader = [order, layout](std::string_view text) {
    return order->useHeader(headerNames(text, layout)) ? "" : order->fault();
  };
  return good;
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
  if (!layout.checkModels(ModelUse::kRead, error)) {
    complain(error);
    return ExitStatus::kUsage;
  }
  ConversionPlan plan;
  plan.rows = RowForm::kText;
  plan.firstLine = layout.header.value_or(false) ? FirstLine::kHeader : FirstLine::kRow;
  plan.framing = framingOf(layout);
  plan.mostRowBytes = kMostTextRowBytes;
  std::shared_ptr<FieldOrder> order;
  if (!readFieldOrder(options, layout, file.schema(), plan, order)) return ExitStatus::kUsage;
  plan.makeConverter = [schema = file.schema(), layout, order] { return makeTextRows(schema, layout, order); };
  for (const kyv::StreamColumn& column : file.columns) plan.columns.push_back(column.name);
  return ConversionRun(options, std::move(plan)).run();
}

}  // namespace kyv_internal
