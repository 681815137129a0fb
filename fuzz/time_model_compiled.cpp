// Any format model, taken apart once, beside the functions that take it on every call: the same texts, the same values,
// and a trace that tells the same.
//
// Input: a character for the type, one for the size of the room, one for the zone, which mostly is UTC, because others
// take their time; a line with the value; a line with
// the model; then the text.

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "kyv/time_model.h"
#include "tests/support/model_entry_points.h"

namespace {

using kyv::TimeModel;
using kyv::TimeType;
using kyv_fuzz::require;

// "Nowhere" is no zone; "GMT+5" is none under this name.
constexpr const char* kZones[] = {
    "UTC", "America/New_York", "Asia/Kolkata", "Australia/Lord_Howe", "GMT-03:30", "Africa/Casablanca",
    "",    "Nowhere",          "GMT+5"};

void checkText(const TimeModel& model, TimeType type, std::int64_t value, const std::string& expected) {
  require(kyv_test::printedByModel(model, type, value) == expected, "a model prints what the function does");
  const kyv::ModelTrace trace = model.traceFormat(type, value);
  require(trace.text.value_or("") == expected, "a trace ends in the text");
  std::string joined;
  for (const kyv::ModelStep& step : trace.steps) joined += step.text;
  require(!trace.text || joined == expected, "the steps' texts are the text");
}

void checkRoom(const TimeModel& model, TimeType type, std::int64_t value, const std::string& expected,
               std::size_t size) {
  std::vector<char> room(size);
  const auto text = model.format(type, value, room);
  require(!text || *text == expected, "the room's size changes no text");
  require(text.has_value() || expected.empty() || size < expected.size(), "a room of the text's size suffices");
}

void checkValue(const TimeModel& model, TimeType type, const std::string& text, const std::string& modelText) {
  const std::vector<char> exactly(text.begin(), text.end());
  const auto value = model.parse(type, {exactly.data(), exactly.size()});
  require(value == kyv_test::readByFunction(type, text, modelText), "a model reads what the function does");
  const kyv::ModelTrace trace = model.traceParse(type, text);
  require(trace.value == value, "a trace ends in the value");
  require(trace.end <= text.size(), "a trace ends in the text");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kyv_fuzz::FuzzInput input(data, size);
  const TimeType type = kyv_test::kTimeTypes[input.choice(kyv_test::kTimeTypes.size())];
  const std::size_t room = input.choice(256);
  const std::size_t zoneChoice = input.choice(256);
  const char* const zone = zoneChoice < std::size(kZones) ? kZones[zoneChoice] : "UTC";
  input.line();
  const std::int64_t value = input.number();
  const std::string modelText = input.line(), text = input.text();
  const TimeModel model(modelText, zone);
  const std::string expected = kyv_test::printedByFunction(type, value, modelText, zone);
  checkText(model, type, value, expected);
  checkRoom(model, type, value, expected, room);
  if (!DataTypes::isValidTimezone(zone)) return 0;
  checkValue(model, type, text, modelText);
  checkValue(model, type, expected, modelText);
  return 0;
}
