#pragma once

// A "%"-style date and time format, compiled once and run for every value. Parsing follows the C library's strptime and
// printing its strftime, both in the "C" locale and in UTC. A row may be given a date model in its place.

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <memory_resource>
#include <optional>
#include <string_view>

#include "datatypes/fixed_time_layout.h"
#include "datatypes/percent_steps.h"
#include "kyv/time_model.h"

namespace kyv_internal {

// Longest text that a format prints; a longer one prints nothing.
inline constexpr std::size_t kMaxFormattedText = 1023;

class PercentFormat {
 public:
  // What a format is, besides one of calendar and clock.
  enum class Kind : std::uint8_t {
    kCalendar,
    kSeconds,  // exactly "%s": a count of seconds
    kModel     // model() reads and prints whole values; parse() is not for it
  };

  // What an unusually long format takes comes from `memory`, which must outlive this one; copies take their own.
  explicit PercentFormat(std::string_view format, std::pmr::memory_resource* memory = std::pmr::get_default_resource());
  explicit PercentFormat(const kyv::TimeModel& model);

  Kind kind() const { return kind_; }

  // REQUIRES: the kind is kModel.
  const kyv::TimeModel& model() const { return *model_; }

  // Whether every text that it prints consists of digits and of the same other characters in the same places, but for
  // years that have not four digits.
  bool isFixedLayout() const { return layout_.has_value(); }

  // Seconds since 1970-01-01 00:00:00 UTC of a text that matches to its end (white space may be left over). Fields that
  // the format does not name stay at 1970-01-01 00:00:00. A "%s" reads digits without a sign. False without a match.
  [[nodiscard]] bool parse(std::string_view text, std::int64_t& seconds) const {
    return (layout_ && layout_->parse(text, seconds)) || parseSteps(text, seconds);
  }

  // The same for texts of the layout that nearly all have, and false for all others: about these parse() knows more.
  [[nodiscard]] bool parseUsual(std::string_view text, std::int64_t& seconds) const {
    return text.size() == usualSize_ && layout_->parseUsual(text.data(), seconds);
  }

  // The same as broken-down time, with the fields as they were read: 30 February is not put right.
  std::optional<std::tm> parseFields(std::string_view text) const;

  // Prints into `out`, which has room for kMaxFormattedText characters; no terminator. Seconds outside the calendar's
  // years print as 1970-01-01 00:00:00, but "%s" alone prints any count. Returns the number of characters, 0 when the
  // text would be too long, or a model cannot print it.
  std::size_t print(std::int64_t seconds, char* out) const;

 private:
  std::size_t printWithoutCalendar(std::int64_t seconds, char* out) const;
  bool parseSteps(std::string_view text, std::int64_t& seconds) const;

  PercentSteps steps_;
  std::size_t usualSize_;  // of the texts that parseUsual() reads; no text has it when there are none
  std::optional<FixedTimeLayout> layout_;
  Kind kind_;
  std::optional<kyv::TimeModel> model_;
};

// Prints a value, as print() does its seconds.
std::size_t printByModel(const kyv::TimeModel& model, kyv::TimeType type, std::int64_t value, char* out);

}  // namespace kyv_internal
