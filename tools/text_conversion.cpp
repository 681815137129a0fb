#include "text_conversion.h"

#include <memory>
#include <string>

#include "complaint.h"
#include "field_order.h"
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
  plan.takeHeader = [order, layout, quiet = options.quiet](std::string_view text) -> std::string {
    if (!order->useHeader(headerNames(text, layout))) return order->fault();
    const std::string twice = order->namedTwice();
    if (!twice.empty() && !quiet) note(twice);
    return "";
  };
  return good;
}

}  // namespace

ExitStatus planTextConversion(const CommandOptions& options, TextConversion& conversion) {
  std::string error;
  if (!readSchemaFile(options.schema, conversion.schema, error)) {
    complain(error);
    return ExitStatus::kFiles;
  }
  const TextLayout layout = TextLayout::merge(options.text, conversion.schema.text);
  if (!layout.checkModels(ModelUse::kRead, error)) {
    complain(error);
    return ExitStatus::kUsage;
  }
  ConversionPlan& plan = conversion.plan;
  plan.rows = RowForm::kText;
  plan.firstLine = layout.header.value_or(false) ? FirstLine::kHeader : FirstLine::kRow;
  plan.framing = framingOf(layout);
  plan.mostRowBytes = kMostTextRowBytes;
  const kyv::StreamSchema schema = conversion.schema.schema();
  std::shared_ptr<FieldOrder> order;
  if (!readFieldOrder(options, layout, schema, plan, order)) return ExitStatus::kUsage;
  plan.makeConverter = [pools = std::make_shared<TextRowPools>(schema, layout), order] {
    return makeTextRows(pools, order);
  };
  for (const kyv::StreamColumn& column : conversion.schema.columns) plan.columns.push_back(column.name);
  return ExitStatus::kOk;
}

}  // namespace kyv_internal
