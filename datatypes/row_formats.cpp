#include "datatypes/row_formats.h"

#include "kyv/data_types.h"

namespace kyv_internal {

namespace {

const char* orElse(const char* format, const char* fallback) { return format != nullptr ? format : fallback; }

}  // namespace

SingleFormat::SingleFormat(Kind kind, FormatTexts texts) {
  const char* const date = orElse(texts.date, DataTypes::g_date_format);
  const char* const timestamp = orElse(texts.timestamp, date);
  switch (kind) {
    case Kind::Date:
      format_.emplace(date, &memory_);
      break;
    case Kind::Timestamp:
      format_.emplace(timestamp, &memory_);
      break;
    case Kind::BigDateTime:
      format_.emplace(orElse(texts.bigdatetime, timestamp), &memory_);
      break;
    case Kind::Time:
      format_.emplace(orElse(texts.time, DataTypes::g_time_format), &memory_);
      break;
    default:
      break;
  }
}

}  // namespace kyv_internal
