#include "datatypes/time_name_tables.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>

#include "datatypes/calendar_names.h"

namespace kyv_internal {
namespace {

using Case = DataTypes::TimeFormatParser::Case;

constexpr std::array<std::string_view, 12> kRomanMonths = {"I",   "Ii",   "Iii", "Iv", "V",  "Vi",
                                                           "Vii", "Viii", "Ix",  "X",  "Xi", "Xii"};
constexpr std::array<std::string_view, 2> kHalvesOfTheDay = {"Am", "Pm"};

constexpr std::size_t kWholeName = std::numeric_limits<std::size_t>::max();

constexpr char lettered(char c, Case letters) {
  if (letters == Case::kUpper && c >= 'a' && c <= 'z') return static_cast<char>(c - 'a' + 'A');
  if (letters == Case::kLower && c >= 'A' && c <= 'Z') return static_cast<char>(c - 'A' + 'a');
  return c;
}

// The slots of capitalised names, or of their first characters, in another case.
template <std::size_t count>
constexpr std::array<NameSlot, count> slotsOf(const std::array<std::string_view, count>& names, Case letters,
                                              std::size_t length = kWholeName) {
  std::array<NameSlot, count> slots{};
  for (std::size_t i = 0; i < count; ++i) {
    const std::string_view name = names[i].substr(0, length);
    std::ranges::transform(name, slots[i].text, [letters](char c) { return lettered(c, letters); });
  }
  return slots;
}

struct NameTables {
  constexpr explicit NameTables(Case letters)
      : months(slotsOf(kMonthNames, letters)),
        monthAbbreviations(slotsOf(kMonthNames, letters, kAbbreviation)),
        romanMonths(slotsOf(kRomanMonths, letters)),
        weekdays(slotsOf(kWeekdayNames, letters)),
        weekdayAbbreviations(slotsOf(kWeekdayNames, letters, kAbbreviation)),
        halvesOfTheDay(slotsOf(kHalvesOfTheDay, letters)) {}

  std::array<NameSlot, 12> months, monthAbbreviations, romanMonths;
  std::array<NameSlot, 7> weekdays, weekdayAbbreviations;
  std::array<NameSlot, 2> halvesOfTheDay;
};

// By the values of Case.
constexpr NameTables kTables[] = {NameTables(Case::kCapitalised), NameTables(Case::kUpper), NameTables(Case::kLower)};

}  // namespace

std::span<const NameSlot> namesOf(ModelToken token, Case letters) {
  const NameTables& tables = kTables[letters];
  switch (token) {
    case ModelToken::kMONTH:
      return tables.months;
    case ModelToken::kMON:
      return tables.monthAbbreviations;
    case ModelToken::kRM:
      return tables.romanMonths;
    case ModelToken::kDAY:
      return tables.weekdays;
    case ModelToken::kDY:
      return tables.weekdayAbbreviations;
    case ModelToken::kAM:
    case ModelToken::kPM:
      return tables.halvesOfTheDay;
    default:
      return {};
  }
}

}  // namespace kyv_internal
