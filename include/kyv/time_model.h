#pragma once

// A date and time format model, taken apart once: kyv::TimeModel prints and reads any number of values by it, without
// an allocation and in a fraction of the time of the functions in time_to_string.h and time_from_string.h. Its texts
// and values are the same as theirs.
//
//     const kyv::TimeModel model("YYYY-MM-DD HH24:MI:SS.FF3", "America/New_York");
//     if (model.formatFault()) return complain(model.formatFault());
//     char room[64];
//     const auto text = model.format(kyv::TimeType::kTimestamp, millis, room);
//
// Values are counts since 1970-01-01 00:00:00 UTC in the unit of their type. The zone is opened, and all its changes
// looked up, when the model is made, which takes about a millisecond; names of zones are those of the locale then.
//
// Threads: a model never changes. Any number of threads may use one at once; copies share what it holds.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "kyv/export.h"

namespace kyv_internal {
class ModelProgram;
}

namespace kyv {

enum class TimeType {
  kDate,        // seconds
  kTime,        // seconds, printed as a date
  kTimestamp,   // milliseconds
  kBigDateTime  // microseconds
};

// What is wrong with a model, and where.
struct ModelFault {
  const char* message = nullptr;  // static; null: nothing is wrong
  std::size_t position = 0;       // of the first byte of the token in the model, or the model's length
  std::size_t length = 0;         // of the token; 0 when it is not the model but its zone

  explicit operator bool() const { return message != nullptr; }
};

// What one token of a model did; neighbouring characters that are no token count as one.
struct ModelStep {
  std::size_t position;  // in the model
  std::size_t length;
  const char* meaning;  // static
  std::string text;     // that it printed, or read
};

// Ends at the step that failed, unless there is a result.
struct ModelTrace {
  std::vector<ModelStep> steps;       // in the model's order, FM and FX included
  const char* failure = nullptr;      // static; null when there is a result
  std::optional<std::string> text;    // printed
  std::optional<std::int64_t> value;  // read
  std::size_t end = 0;                // where reading ended in the text
};

class KYV_EXPORT TimeModel {
 public:
  // Null and the empty name are UTC. Reading does not depend on the zone, which only prints.
  explicit TimeModel(std::string_view model, const char* zone = nullptr);

  // Why nothing can be printed or read. A model may do for one of the two alone: D is only printed, RR only read.
  const ModelFault& formatFault() const;
  const ModelFault& parseFault() const;

  // Whether texts tell the year, or a count that does. If not, values are those of 1900.
  bool readsYear() const;

  // The longest text that it prints, in bytes.
  std::size_t maxLength() const;

  // Prints into `room` and returns the text there. Nothing when the model has a fault, when the room does not suffice
  // (maxLength() always does), and where the functions that take a model print nothing: for dates beyond the years of a
  // tm and counts beyond 64 bits. What stands in the room behind the text is unspecified.
  [[nodiscard]] std::optional<std::string_view> format(TimeType type, std::int64_t value, std::span<char> room) const;

  // Reads all of `text`. Nothing when the model has a fault, when the text does not match it or the value is beyond 64
  // bits. Allocates only for a text that names another zone than the model's.
  [[nodiscard]] std::optional<std::int64_t> parse(TimeType type, std::string_view text) const;

  // The same, slower, with what every token did.
  ModelTrace traceFormat(TimeType type, std::int64_t value) const;
  ModelTrace traceParse(TimeType type, std::string_view text) const;

 private:
  std::shared_ptr<const kyv_internal::ModelProgram> program_;
};

}  // namespace kyv
