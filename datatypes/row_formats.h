#pragma once

// The compiled "%"-style formats of one row.

#include <array>
#include <cstddef>
#include <memory_resource>
#include <optional>

#include "datatypes/percent_format.h"
#include "datatypes/type_code.h"

namespace kyv_internal {

inline constexpr const char* kDefaultTimeFormat = "%H:%M:%S";
// Dates and timestamps deliberately share one default, which includes the time of day.
inline constexpr const char* kDefaultDateFormat = "%Y-%m-%d %H:%M:%S";

// The formats that a conversion uses, one for each kind that has one; those it does not need may be null.
struct FormatSet {
  const PercentFormat* date = nullptr;
  const PercentFormat* timestamp = nullptr;
  const PercentFormat* bigdatetime = nullptr;
  const PercentFormat* time = nullptr;
};

class RowFormats {
 public:
  PercentFormat date{kDefaultDateFormat};
  PercentFormat timestamp{kDefaultDateFormat};
  PercentFormat time{kDefaultTimeFormat};

  // Bigdatetimes use the timestamps' format.
  FormatSet set() const { return {&date, &timestamp, &timestamp, &time}; }
};

// The formats of the plain conversion functions, null where the caller gave none.
struct FormatTexts {
  const char* date;
  const char* timestamp;
  const char* bigdatetime;
  const char* time;
};

// The one format that a value of a kind needs, compiled for one conversion, with each missing text replaced by its
// default: the date format by the process's, the timestamp format by the date format, the bigdatetime format by the
// timestamp format, the time format by the process's. Nothing is compiled for kinds without a format.
class SingleFormat {
 public:
  SingleFormat(Kind kind, FormatTexts texts);
  SingleFormat(const SingleFormat&) = delete;
  SingleFormat& operator=(const SingleFormat&) = delete;

  FormatSet set() const {
    const PercentFormat* const format = format_ ? &*format_ : nullptr;
    return {format, format, format, format};
  }

 private:
  // As much as a format can take whose text is no longer than a text may be: no other memory is asked for.
  static constexpr std::size_t kMemoryBytes = 4 * kMaxFormattedText * sizeof(Step);

  std::array<std::byte, kMemoryBytes> bytes_;  // NOLINT(cppcoreguidelines-pro-type-member-init): filled when used
  std::pmr::monotonic_buffer_resource memory_{bytes_.data(), bytes_.size()};
  std::optional<PercentFormat> format_;
};

}  // namespace kyv_internal
