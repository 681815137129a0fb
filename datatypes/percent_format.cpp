#include "datatypes/percent_format.h"

#include <charconv>
#include <cstring>

#include "datatypes/civil_time.h"
#include "datatypes/percent_printer.h"
#include "datatypes/percent_reader.h"
#include "kyv/data_value.h"

namespace kyv_internal {

static_assert(FixedTimeLayout::kPrintRoom <= kMaxFormattedText);

PercentFormat::PercentFormat(std::string_view format, std::pmr::memory_resource* memory)
    : steps_(format, memory),
      usualSize_(std::string_view::npos),
      layout_(FixedTimeLayout::of(steps_.steps())),
      kind_(format == "%s" ? Kind::kSeconds : Kind::kCalendar) {
  if (layout_ && layout_->isUsual()) usualSize_ = FixedTimeLayout::kUsualLength;
}

PercentFormat::PercentFormat(const kyv::TimeModel& model)
    : steps_({}), usualSize_(std::string_view::npos), kind_(Kind::kModel), model_(model) {}

bool PercentFormat::parseSteps(std::string_view text, std::int64_t& seconds) const {
  const std::optional<std::tm> fields = parseFields(text);
  if (fields) seconds = secondsOf(*fields);
  return fields.has_value();
}

std::optional<std::tm> PercentFormat::parseFields(std::string_view text) const {
  return readPercentSteps(steps_.steps(), text);
}

std::size_t PercentFormat::print(std::int64_t seconds, char* out) const {
  if (kind_ != Kind::kCalendar) return printWithoutCalendar(seconds, out);
  const std::int64_t calendarSeconds = secondsOrEpoch(seconds);
  if (layout_)
    if (const std::size_t size = layout_->print(calendarSeconds, out)) return size;
  return printPercentSteps(steps_, calendarSeconds, out);
}

std::size_t PercentFormat::printWithoutCalendar(std::int64_t seconds, char* out) const {
  if (kind_ == Kind::kModel) return printByModel(*model_, kyv::TimeType::kDate, seconds, out);
  return static_cast<std::size_t>(std::to_chars(out, out + kMaxFormattedText, seconds).ptr - out);
}

std::size_t printByModel(const kyv::TimeModel& model, kyv::TimeType type, std::int64_t value, char* out) {
  const auto text = model.format(type, value, {out, kMaxFormattedText});
  return text ? text->size() : 0;
}

}  // namespace kyv_internal

const char* DataTypes::strptime(const char* text, const char* format, std::tm* out) {
  const std::string_view view(text);
  const auto fields = kyv_internal::PercentFormat(format).parseFields(view);
  if (!fields) return nullptr;
  *out = *fields;
  return view.data() + view.size();
}
