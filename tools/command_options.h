#pragma once

// What the command line says. Every command has the options that its line in the command table names; the others keep
// their defaults.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "kyv/time_model.h"
#include "load_options.h"
#include "record_choice.h"
#include "record_rows.h"
#include "stream_reading.h"
#include "text_layout.h"

namespace kyv_internal {

enum class TimeAction { kFormat, kParse };

// A value to try a date model on.
struct TimeTrial {
  TimeAction action = TimeAction::kFormat;
  std::string model;
  std::string value;
  std::string zone;
  kyv::TimeType type = kyv::TimeType::kTimestamp;
};

enum class ColourChoice { kAuto, kAlways, kNever };

inline constexpr char kStandardInputTwice[] = "schema and rows cannot both come from standard input";

struct CommandOptions {
  std::string input = "-";
  std::string output = "-";
  std::string schema;
  TextLayout text;
  PrintForm form = PrintForm::kDelimited;
  std::size_t threads = 1;
  std::optional<std::uint64_t> maxErrors;  // bad rows after which a run stops
  std::string permutation;                 // pairs COLUMN=FIELD; none when empty
  std::string rejects;                     // a file for bad rows as they stand; none when empty
  bool quiet = false;
  bool json = false;  // the summary as JSON
  RecordChoice records;
  TimeTrial time;
  std::string html;  // a file for a page of records; none when empty
  bool raw = false;  // the library's plain dumps
  StreamReading reading;
  ColourChoice colour = ColourChoice::kAuto;
  LoadOptions load;

  bool takesStandardInputTwice() const { return schema == "-" && input == "-"; }
};

}  // namespace kyv_internal
