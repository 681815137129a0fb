#pragma once

// The compiled "%"-style formats of one row.

#include <optional>

#include "datatypes/percent_format.h"
#include "datatypes/type_code.h"

namespace kyv_internal {

inline constexpr const char* kDefaultTimeFormat = "%H:%M:%S";
// Dates and timestamps deliberately share one default, which includes the time of day.
inline constexpr const char* kDefaultDateFormat = "%Y-%m-%d %H:%M:%S";

class RowFormats {
 public:
  PercentFormat date{kDefaultDateFormat};
  PercentFormat timestamp{kDefaultDateFormat};
  PercentFormat time{kDefaultTimeFormat};

  // The format of a kind's texts; bigdatetimes use the timestamps' one. Null for kinds without a format.
  const PercentFormat* of(Kind kind) const {
    switch (kind) {
      case Kind::Date:
        return &date;
      case Kind::Timestamp:
      case Kind::BigDateTime:
        return &timestamp;
      case Kind::Time:
        return &time;
      default:
        return nullptr;
    }
  }
};

// The formats of the plain conversion functions, null where the caller gave none.
struct FormatTexts {
  const char* date;
  const char* timestamp;
  const char* bigdatetime;
  const char* time;
};

// The format of a kind's texts, compiled for one conversion, with each missing one replaced by its default: the date
// format by the process's, the timestamp format by the date format, the bigdatetime format by the timestamp format, the
// time format by the process's. None for kinds without a format.
std::optional<PercentFormat> compiledFormat(Kind kind, FormatTexts texts);

}  // namespace kyv_internal
