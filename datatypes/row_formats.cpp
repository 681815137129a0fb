#include "datatypes/row_formats.h"

#include "kyv/data_types.h"

namespace kyv_internal {

namespace {

const char* orElse(const char* format, const char* fallback) { return format != nullptr ? format : fallback; }

}  // namespace

std::optional<PercentFormat> compiledFormat(Kind kind, FormatTexts texts) {
  const char* const date = orElse(texts.date, DataTypes::g_date_format);
  const char* const timestamp = orElse(texts.timestamp, date);
  switch (kind) {
    case Kind::Date:
      return PercentFormat(date);
    case Kind::Timestamp:
      return PercentFormat(timestamp);
    case Kind::BigDateTime:
      return PercentFormat(orElse(texts.bigdatetime, timestamp));
    case Kind::Time:
      return PercentFormat(orElse(texts.time, DataTypes::g_time_format));
    default:
      return std::nullopt;
  }
}

}  // namespace kyv_internal
