#include "datatypes/model_program.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "datatypes/civil_time.h"

namespace kyv_internal {

using DataTypes::TextInput;
using kyv::TimeType;

namespace {

constexpr std::int64_t kMicrosPerSecond = 1'000'000;

constexpr std::int64_t microsPerUnit(TimeType type) {
  switch (type) {
    case TimeType::kBigDateTime:
      return 1;
    case TimeType::kTimestamp:
      return 1000;
    default:
      return kMicrosPerSecond;
  }
}

// Divisions by a constant are much faster than those by a unit looked up.
SplitValue split(TimeType type, std::int64_t value) {
  if (type == TimeType::kTimestamp) return splitValue(value, microsPerUnit(TimeType::kTimestamp));
  if (type == TimeType::kBigDateTime) return splitValue(value, microsPerUnit(TimeType::kBigDateTime));
  return {value, 0};
}

// Years that have four digits in every zone.
constexpr std::int64_t kFirstUsualSecond = daysFromCivil(1001, 1, 1) * kSecondsPerDay;
constexpr std::int64_t kEndUsualSecond = daysFromCivil(9999, 1, 1) * kSecondsPerDay;

bool isUsual(std::int64_t seconds, std::int32_t fraction) {
  return seconds >= kFirstUsualSecond && seconds < kEndUsualSecond && fraction >= 0;
}

bool isZoneName(const ModelTokenStep& step) { return sourceOf(step.token) == FieldSource::kZoneName; }

Zone::NameStyle nameStyleOf(const ModelTokenStep& step) {
  return step.token == ModelToken::kTZR ? Zone::NameStyle::kLong : Zone::NameStyle::kShort;
}

}  // namespace

ModelProgram::ModelProgram(std::string_view model, const char* zone)
    : tokens_(model), layout_(ModelLayout::of(tokens_.steps)), program_(tokens_.steps) {
  using Names = CachedZone::Names;
  if (auto opened =
          CachedZone::open(zone, std::ranges::any_of(tokens_.steps, isZoneName) ? Names::kBoth : Names::kNone)) {
    zone_ = *std::move(opened);
  } else {
    tokens_.formatFault = tokens_.parseFault = {"unknown time zone", model.size(), 0};
  }
  std::size_t zoneNames = 0;
  for (const ModelTokenStep& step : tokens_.steps) {
    maxLength_ += longestText(step);
    if (isZoneName(step)) zoneNames += longestText(step);
  }
  usualRoom_ = layout_ ? ModelLayout::kPrintRoom : program_.room() + zoneNames;
}

std::size_t ModelProgram::longestText(const ModelTokenStep& step) const {
  if (!isZoneName(step)) return longestFieldText(step.token);
  const Zone::NameStyle style = nameStyleOf(step);
  return std::max(zone_.displayName(false, style).size(), zone_.displayName(true, style).size());
}

// --- Printing -------------------------------------------------------------------------------------------------------

std::optional<ZonedTime> ModelProgram::takeApart(TimeType type, std::int64_t value) const {
  const auto [seconds, fraction] = split(type, value);
  if (!hasCalendarYear(seconds)) return std::nullopt;
  const ZoneOffset offset = zone_.offsetAt(static_cast<double>(seconds) * 1000);
  const std::optional<std::tm> clock = brokenDownTime(seconds + offset.total() / 1000);
  if (!clock) return std::nullopt;
  return ZonedTime{*clock, fraction, wideMicros(value, microsPerUnit(type)), instantOf(value, microsPerUnit(type))};
}

// The text stands at `room`, where the field's longest one has room, or in the model. Not done: it cannot be printed.
std::string_view ModelProgram::textOf(const ModelTokenStep& step, const ZonedTime& time, char* room, bool& done) const {
  const ModelField field{step.token, step.letters, step.character, step.fill};
  const char* end = nullptr;
  switch (sourceOf(step.token)) {
    case FieldSource::kClock:
      end = printField(field, {time.clock, time.fraction}, room);
      break;
    case FieldSource::kValue:
      end = printZoneField(field, time.micros, {}, room);
      break;
    case FieldSource::kZone:
      end = printZoneField(field, time.micros, zone_.offsetAt(time.instant), room);
      break;
    case FieldSource::kZoneName:
      return zone_.displayName(zone_.offsetAt(time.instant).daylight, nameStyleOf(step));
    case FieldSource::kNone:
      return {&step.character, 1};
  }
  done = end != nullptr;
  return {room, done ? static_cast<std::size_t>(end - room) : 0};
}

// Both print usual times alone and return the end of the text, null for other times.

char* ModelProgram::printByLayout(TimeType type, std::int64_t value, char* out) const {
  const auto [seconds, fraction] = split(type, value);
  if (!isUsual(seconds, fraction)) return nullptr;
  const std::size_t length = layout_->print(seconds + zone_.secondsAheadAt(seconds), fraction, out);
  return length > 0 ? out + length : nullptr;
}

char* ModelProgram::printByProgram(TimeType type, std::int64_t value, char* out) const {
  const auto [seconds, fraction] = split(type, value);
  if (!isUsual(seconds, fraction)) return nullptr;
  const std::int64_t clockSeconds = seconds + zone_.secondsAheadAt(seconds);
  const ClockNumbers clock(clockSeconds);
  if (!program_.hasOthers()) return program_.print(clock, out, [](std::size_t, char* end) { return end; });
  ZonedTime time{{}, fraction, wideMicros(value, microsPerUnit(type)), instantOf(value, microsPerUnit(type))};
  if (program_.hasOtherClockFields()) time.clock = brokenDownTime(clockSeconds).value_or(std::tm{});
  return program_.print(clock, out, [&](std::size_t step, char* end) -> char* {
    bool done = true;
    const std::string_view text = textOf(tokens_.steps[step], time, end, done);
    if (text.data() != end) std::memcpy(end, text.data(), text.size());
    return done ? end + text.size() : nullptr;
  });
}

std::optional<std::string_view> ModelProgram::formatCarefully(TimeType type, std::int64_t value,
                                                              std::span<char> room) const {
  const std::optional<ZonedTime> time = takeApart(type, value);
  if (!time) return std::nullopt;
  std::span<char> rest = room;
  for (const ModelTokenStep& step : tokens_.steps) {
    std::array<char, kMaxFieldText> scratch;
    bool done = true;
    const std::string_view text = textOf(step, *time, scratch.data(), done);
    if (!done || text.size() > rest.size()) return std::nullopt;
    std::ranges::copy(text, rest.begin());
    rest = rest.subspan(text.size());
  }
  return std::string_view(room.data(), room.size() - rest.size());
}

std::optional<std::string_view> ModelProgram::format(TimeType type, std::int64_t value, std::span<char> room) const {
  if (tokens_.formatFault) return std::nullopt;
  if (room.size() >= usualRoom_) {
    char* const out = room.data();
    const char* end = layout_ ? printByLayout(type, value, out) : printByProgram(type, value, out);
    if (end != nullptr) return std::string_view(out, static_cast<std::size_t>(end - out));
  }
  return formatCarefully(type, value, room);
}

// --- Reading --------------------------------------------------------------------------------------------------------

bool ModelProgram::readZone(const ModelTokenStep& step, Reading& reading) const {
  const std::string_view name = readZoneName(reading.input, step.exact);
  reading.found.hasZone = true;
  reading.inOwnZone = name == zone_.name();
  if (reading.inOwnZone) return true;
  reading.found.zone = name;
  return !name.empty() && Zone::open(reading.found.zone.c_str());
}

bool ModelProgram::readStep(const ModelTokenStep& step, Reading& reading) const {
  if (step.token == ModelToken::kLiteral) return readLiteral(reading.input, step.character, step.exact);
  if (readsZoneName(step.token)) return readZone(step, reading);
  return readField({step.token, step.letters, step.exact, step.fill}, reading.input, reading.found);
}

std::optional<std::int64_t> ModelProgram::valueOf(const Reading& reading, TimeType type) const {
  const auto shift = [&](std::int64_t seconds) -> std::optional<std::int64_t> {
    if (!reading.inOwnZone) return secondsInZone(reading.found.zone, seconds);
    std::int64_t micros;
    const std::int64_t shifted = seconds + zone_.offsetAt(static_cast<double>(seconds) * 1000).total() / 1000;
    const bool tooFar = __builtin_mul_overflow(seconds, kMicrosPerSecond, &micros) ||
                        __builtin_mul_overflow(shifted, kMicrosPerSecond, &micros);
    return tooFar ? std::nullopt : std::optional(shifted);
  };
  return kyv_internal::valueOf(reading.found, microsPerUnit(type), shift);
}

std::optional<std::int64_t> ModelProgram::parse(TimeType type, std::string_view text) const {
  if (tokens_.parseFault) return std::nullopt;
  FoundInstant instant{};
  if (layout_ && layout_->read(text, instant.seconds, instant.micros)) return countOf(instant, microsPerUnit(type));
  Reading reading{{text.data(), text.size(), 0}, {}};
  for (const ModelTokenStep& step : tokens_.steps) {
    if (!readStep(step, reading)) return std::nullopt;
  }
  return readEnd(reading.input, tokens_.exactAtEnd) ? valueOf(reading, type) : std::nullopt;
}

// --- What every token does ------------------------------------------------------------------------------------------

namespace {

// Characters that are no tokens and stand side by side are one step, as far as they end in the model.
bool joins(const std::vector<kyv::ModelStep>& steps, const ModelTokenStep& step) {
  return step.token == ModelToken::kLiteral && !steps.empty() && steps.back().meaning == meaningOf(step) &&
         steps.back().position + steps.back().length == step.position;
}

void addStep(std::vector<kyv::ModelStep>& steps, const ModelTokenStep& step, std::string_view text) {
  if (!joins(steps, step)) {
    steps.push_back({step.position, step.length, meaningOf(step), std::string(text)});
    return;
  }
  steps.back().length += step.length;
  steps.back().text += text;
}

// Adds those modes that were reached.
void addModes(kyv::ModelTrace& trace, const std::vector<ModelTokenStep>& modes) {
  const bool wasRead = trace.failure == nullptr;
  const std::size_t reached = wasRead || trace.steps.empty() ? std::string_view::npos : trace.steps.back().position;
  for (const ModelTokenStep& mode : modes) {
    if (mode.position < reached) trace.steps.push_back({mode.position, mode.length, meaningOf(mode), ""});
  }
  std::ranges::sort(trace.steps, {}, &kyv::ModelStep::position);
}

}  // namespace

void ModelProgram::traceSteps(const ZonedTime& time, kyv::ModelTrace& trace) const {
  std::string whole;
  for (const ModelTokenStep& step : tokens_.steps) {
    std::array<char, kMaxFieldText> scratch;
    bool done = true;
    const std::string_view text = textOf(step, time, scratch.data(), done);
    addStep(trace.steps, step, text);
    if (!done) {
      trace.failure = "the count is beyond 64 bits";
      return;
    }
    whole += text;
  }
  trace.text = whole;
}

kyv::ModelTrace ModelProgram::traceFormat(TimeType type, std::int64_t value) const {
  kyv::ModelTrace trace;
  const std::optional<ZonedTime> time = takeApart(type, value);
  trace.failure = tokens_.formatFault ? tokens_.formatFault.message
                  : time              ? nullptr
                                      : "the date is beyond the years of the calendar";
  if (trace.failure == nullptr) traceSteps(*time, trace);
  addModes(trace, tokens_.modes);
  return trace;
}

void ModelProgram::traceReading(TimeType type, std::string_view text, kyv::ModelTrace& trace) const {
  Reading reading{{text.data(), text.size(), 0}, {}};
  const auto reached = [&] { return std::min<std::size_t>(reading.input.position, text.size()); };
  for (const ModelTokenStep& step : tokens_.steps) {
    const bool done = readStep(step, reading);
    addStep(trace.steps, step, text.substr(trace.end, reached() - trace.end));
    trace.end = reached();
    if (!done) {
      trace.failure = "the text does not go on as the model does";
      return;
    }
  }
  const bool atEnd = readEnd(reading.input, tokens_.exactAtEnd);
  trace.end = reached();
  if (atEnd) trace.value = valueOf(reading, type);
  if (!trace.value) trace.failure = atEnd ? "the value is out of range" : "the text goes on behind the model";
}

kyv::ModelTrace ModelProgram::traceParse(TimeType type, std::string_view text) const {
  kyv::ModelTrace trace;
  trace.failure = tokens_.parseFault.message;
  if (trace.failure == nullptr) traceReading(type, text, trace);
  addModes(trace, tokens_.modes);
  return trace;
}

}  // namespace kyv_internal
