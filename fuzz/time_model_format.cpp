// Any format model, any value of any type, any zone. Texts are those that the C library would put together, where it
// can; a model that cannot be printed gives none.
//
// Input: a character for the type, then to the end of the line the zone; a line with the value; then the model.

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "datatypes/format_tokens.h"
#include "fuzz/fuzz_input.h"
#include "kyv/time_to_string.h"
#include "tests/support/printed_by_c.h"

namespace {

using kyv_fuzz::require;
using kyv_internal::ModelToken;

struct Type {
  decltype(&DataTypes::DateToString) print;
  long microsPerUnit;
};

constexpr Type kTypes[] = {
    {DataTypes::TimestampToString, DataTypes::TimestampFields::kMicrosPerUnit},
    {DataTypes::DateToString, DataTypes::DateFields::kMicrosPerUnit},
    {DataTypes::BigDateTimeToString, DataTypes::BigDateTimeFields::kMicrosPerUnit},
};

struct Case {
  Type type;
  std::string zone;
  long value;
  std::string model;
};

bool canBePrinted(std::string_view model) {
  using enum ModelToken;
  constexpr ModelToken kNotPrinted[] = {kRR, kRRRR, kDAYS, kHOURS, kMINUTES, kSECONDS};
  int state = 0;
  const bool printed = kyv_internal::scanModel(model, state, [&](const kyv_internal::FoundToken& found) {
    return std::ranges::find(kNotPrinted, found.row.token) == std::end(kNotPrinted);
  });
  return printed && state == 0;
}

void checkText(const Case& test, const std::string& text) {
  if (!DataTypes::isValidTimezone(test.zone.c_str()) || !canBePrinted(test.model)) {
    require(text.empty(), "what cannot be printed is empty");
    return;
  }
  const std::optional<kyv_test::CTime> time = kyv_test::timeByC(test.value, test.type.microsPerUnit, test.zone.c_str());
  const std::optional<std::string> expected = time ? kyv_test::printedByC(test.model, *time) : std::nullopt;
  require(!expected || text == *expected, "a text is what the C library puts together");
}

// The parser reads its model by length: no byte behind it, and NUL bytes inside.
void checkParser(long value, const char* zone, std::string_view model) {
  const std::vector<char> exactly(model.begin(), model.end());
  std::string text;
  DataTypes::BigDateTimeFormatParser_TimeToString parser(value, zone, text);
  const bool printed = parser.Parse(exactly.data(), exactly.size());
  require(!printed || canBePrinted(model), "a model that cannot be printed fails");
}

// What a zone's clocks show is less than two days from UTC, and found again from there but for an hour.
void checkZone(const Case& test) {
  constexpr long kHour = 3'600'000'000;
  const char* const zone = test.zone.c_str();
  long there = 0, back = 0;
  if (!DataTypes::toTimeZone(test.value, "UTC", zone, there)) return;
  require(std::abs(there - test.value) < 48 * kHour, "a zone is near UTC");
  if (!DataTypes::toTimeZone(there, zone, "UTC", back)) return;
  require(std::abs(back - test.value) <= kHour + 1000, "a zone's time is found again");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kyv_fuzz::FuzzInput input(data, size);
  const Type type = kTypes[input.choice(std::size(kTypes))];
  const std::string zone = input.line();
  const long value = input.number();
  const Case test{type, zone, value, input.text()};
  const std::vector<char> model = kyv_fuzz::terminated(test.model);
  const std::vector<char> name = kyv_fuzz::terminated(test.zone);
  std::string text;
  type.print(value, model.data(), name.data(), text);
  checkText(test, text);
  checkParser(value, name.data(), input.bytes());
  checkZone(test);
  return 0;
}
