#include <algorithm>
#include <memory>
#include <optional>
#include <string>

#include "commands.h"
#include "complaint.h"
#include "conversion_run.h"
#include "kyv/data_types.h"
#include "load_check.h"
#include "load_rehearsal.h"
#include "load_sink.h"
#include "text_conversion.h"

namespace kyv_internal {
namespace {

// False, with a complaint, when --key-column names no column that can be a delivery key.
bool findKeyColumn(const std::string& name, const SchemaFile& schema, std::optional<LoadCursor::KeyColumn>& key) {
  if (name.empty()) return true;
  const auto found = std::find_if(schema.columns.begin(), schema.columns.end(),
                                  [&](const kyv::StreamColumn& column) { return column.name == name; });
  if (found == schema.columns.end()) {
    complain("--key-column: the stream has no column \"" + name + "\"");
    return false;
  }
  const bool isLong = found->type == DataTypes::kLong;
  if (!isLong && found->type != DataTypes::kInteger) {
    complain("--key-column: column \"" + name + "\" is no long or integer");
    return false;
  }
  key = {static_cast<int>(found - schema.columns.begin()), isLong};
  return true;
}

std::unique_ptr<RowConverter> withCheck(std::unique_ptr<RowConverter> converter, const RecordCheck& check) {
  converter->setCheck(check);
  return converter;
}

}  // namespace

// Text lines into a stream.
ExitStatus runLoad(const CommandOptions& options) {
  TextConversion conversion;
  const ExitStatus planned = planTextConversion(options, conversion);
  if (planned != ExitStatus::kOk) return planned;
  LoadPlan plan;
  if (!findKeyColumn(options.load.keyColumn, conversion.schema, plan.keyColumn)) return ExitStatus::kUsage;
  if (options.load.bookkeeping == conversion.schema.stream) {
    complain("--bookkeeping: the rows go to stream \"" + conversion.schema.stream + "\", not the bookkeeping");
    return ExitStatus::kUsage;
  }
  plan.adapter = options.load.adapter.empty() ? "load/" + conversion.schema.stream : options.load.adapter;
  plan.reports = options.json ? LoadStatistics::Form::kJson : LoadStatistics::Form::kText;
  plan.isQuiet = options.quiet;
  conversion.plan.makeConverter = [make = conversion.plan.makeConverter,
                                   check = loadCheck(conversion.schema, options.load.keyColumn)] {
    return withCheck(make(), check);
  };
  plan.schema = std::move(conversion.schema);
  std::unique_ptr<RowSink> sink;
  if (options.load.isDry) {
    sink = std::make_unique<LoadRehearsal>(std::move(plan), options.load.project);
  } else {
    sink = std::make_unique<LoadSink>(std::move(plan), options.load);
  }
  return ConversionRun(options, std::move(conversion.plan), std::move(sink)).run();
}

}  // namespace kyv_internal
