#include <memory>

#include "commands.h"
#include "conversion_run.h"
#include "file_sink.h"
#include "text_conversion.h"

namespace kyv_internal {

// Text lines to records.
ExitStatus runConvert(const CommandOptions& options) {
  TextConversion conversion;
  const ExitStatus planned = planTextConversion(options, conversion);
  if (planned != ExitStatus::kOk) return planned;
  auto sink = std::make_unique<FileSink>(options.output, FileSink::Content::kRecords);
  return ConversionRun(options, std::move(conversion.plan), std::move(sink)).run();
}

}  // namespace kyv_internal
