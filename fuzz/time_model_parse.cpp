// Any text by any format model. The types agree about what a text says, white space at its end changes nothing, and
// where a model prints all that it reads, what was read is printed and read again.
//
// Input: a line with the model, then the text.

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "datatypes/civil_time.h"
#include "datatypes/format_tokens.h"
#include "fuzz/fuzz_input.h"
#include "kyv/time_from_string.h"
#include "kyv/time_to_string.h"
#include "tests/support/model_entry_points.h"

namespace {

using kyv::TimeType;
using kyv_fuzz::require;
using kyv_internal::ModelToken;

// Reads texts in memory of exactly their size.
std::optional<std::int64_t> read(TimeType type, const std::string& text, const std::string& model) {
  const std::vector<char> exactText = kyv_fuzz::terminated(text), exactModel = kyv_fuzz::terminated(model);
  return kyv_test::readByFunction(type, exactText.data(), exactModel.data());
}

bool hasToken(const std::string& model, std::initializer_list<ModelToken> tokens) {
  int state = 0;
  bool has = false;
  kyv_internal::scanModel(model, state, [&](const kyv_internal::FoundToken& found) {
    has |= std::ranges::find(tokens, found.row.token) != tokens.end();
    return true;
  });
  return has;
}

void checkTypes(const std::string& text, const std::string& model) {
  const auto date = read(TimeType::kDate, text, model), time = read(TimeType::kTime, text, model);
  const auto millis = read(TimeType::kTimestamp, text, model), micros = read(TimeType::kBigDateTime, text, model);
  require(date == time, "dates and times are read alike");
  require((!micros || millis) && (!millis || date), "what fits in small units fits in large ones");
  if (micros) require(kyv_internal::splitCount<1000>(*micros).whole == *millis, "milliseconds are whole microseconds");
  if (millis) require(kyv_internal::splitCount<1000>(*millis).whole == *date, "seconds are whole milliseconds");
}

void checkWhiteSpaceAtEnd(const std::string& text, const std::string& model) {
  if (hasToken(model, {ModelToken::kFX})) return;
  const auto value = read(TimeType::kTimestamp, text, model);
  if (value) require(read(TimeType::kTimestamp, text + "\t \n", model) == value, "white space at the end is skipped");
}

// Whether all that the model reads is printed again at its full width, and nothing shifts it.
bool printsWhatItReads(const std::string& model) {
  using enum ModelToken;
  return !hasToken(model, {kFM, kFX, kRM, kRR, kRRRR, kTZD, kTZH, kTZM, kTZR, kMIC, kMS, kSE});
}

void checkPrintedAgain(TimeType type, const std::string& text, const std::string& model) {
  const auto value = read(type, text, model);
  const bool printed = value && (*value >= 0 || *value % kyv_test::unitsPerSecond(type) == 0);
  if (!printed || !printsWhatItReads(model)) return;
  const std::string again = kyv_test::printedByFunction(type, *value, model, "UTC");
  require(read(type, again, model) == value, "what was read is printed and read again");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kyv_fuzz::FuzzInput input(data, size);
  const std::string model = input.line(), text = input.text();
  checkTypes(text, model);
  checkWhiteSpaceAtEnd(text, model);
  for (const TimeType type : kyv_test::kTimeTypes) checkPrintedAgain(type, text, model);
  return 0;
}
