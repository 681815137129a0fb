#pragma once

// A format model that is ready to print and read values, in the zone that it prints for.

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <optional>
#include <span>
#include <string_view>

#include "datatypes/cached_zone.h"
#include "datatypes/found_fields.h"
#include "datatypes/model_layout.h"
#include "datatypes/model_printer.h"
#include "datatypes/model_reader.h"
#include "datatypes/model_tokens.h"
#include "datatypes/print_program.h"
#include "kyv/time_model.h"

namespace kyv_internal {

// A value taken apart for the zone.
struct ZonedTime {
  std::tm clock;
  std::int32_t fraction;  // microseconds, with the value's sign
  WideMicros micros;      // since 1970, of the value
  double instant;         // milliseconds since 1970, as the zone counts them
};

class ModelProgram {
 public:
  ModelProgram(std::string_view model, const char* zone);

  const ModelTokens& tokens() const { return tokens_; }
  std::size_t maxLength() const { return maxLength_; }

  std::optional<std::string_view> format(kyv::TimeType type, std::int64_t value, std::span<char> room) const;
  std::optional<std::int64_t> parse(kyv::TimeType type, std::string_view text) const;
  kyv::ModelTrace traceFormat(kyv::TimeType type, std::int64_t value) const;
  kyv::ModelTrace traceParse(kyv::TimeType type, std::string_view text) const;

 private:
  // What was read so far.
  struct Reading {
    DataTypes::TextInput input;
    DataTypes::FoundTime found;
    bool inOwnZone = false;  // the text names the model's zone
  };

  std::size_t longestText(const ModelTokenStep& step) const;

  std::optional<ZonedTime> takeApart(kyv::TimeType type, std::int64_t value) const;
  std::string_view textOf(const ModelTokenStep& step, const ZonedTime& time, char* room, bool& done) const;
  char* printByLayout(kyv::TimeType type, std::int64_t value, char* out) const;
  char* printByProgram(kyv::TimeType type, std::int64_t value, char* out) const;
  std::optional<std::string_view> formatCarefully(kyv::TimeType type, std::int64_t value, std::span<char> room) const;

  void traceSteps(const ZonedTime& time, kyv::ModelTrace& trace) const;
  void traceReading(kyv::TimeType type, std::string_view text, kyv::ModelTrace& trace) const;

  bool readStep(const ModelTokenStep& step, Reading& reading) const;
  bool readZone(const ModelTokenStep& step, Reading& reading) const;
  std::optional<std::int64_t> valueOf(const Reading& reading, kyv::TimeType type) const;

  ModelTokens tokens_;
  std::optional<ModelLayout> layout_;
  PrintProgram program_;
  CachedZone zone_;
  std::size_t maxLength_ = 0;
  std::size_t usualRoom_ = 0;  // what the ways for usual times may write
};

}  // namespace kyv_internal
