#include "datatypes/print_program.h"

#include <string_view>

#include "datatypes/model_printer.h"
#include "datatypes/time_name_tables.h"

namespace kyv_internal {

ClockNumbers::ClockNumbers(std::int64_t seconds) {
  const CivilTime time = civilTime(seconds);
  const auto year = static_cast<std::uint32_t>(time.date.year);
  const auto number = [this](Index index, std::uint32_t value) { numbers_[index] = static_cast<std::uint8_t>(value); };
  number(kCentury, year / 100);
  number(kYearOfCentury, year % 100);
  number(kMonth, static_cast<std::uint32_t>(time.date.month));
  number(kDay, static_cast<std::uint32_t>(time.date.day));
  const auto hour = static_cast<std::uint32_t>(time.hour);
  number(kHour, hour);
  number(kHourOfTwelve, hour % 12 == 0 ? 12 : hour % 12);
  number(kMinute, static_cast<std::uint32_t>(time.minute));
  number(kSecond, static_cast<std::uint32_t>(time.second));
  number(kMonthIndex, static_cast<std::uint32_t>(time.date.month - 1));
  number(kWeekday, static_cast<std::uint32_t>(weekday(splitCount<kSecondsPerDay>(seconds).whole)));
  number(kHalfOfDay, hour / 12);
}

PrintProgram::PrintProgram(std::span<const ModelTokenStep> steps) {
  for (std::size_t i = 0; i < steps.size(); ++i) add(steps[i], i);
}

void PrintProgram::add(const ModelTokenStep& step, std::size_t index) {
  using Clock = ClockNumbers;
  if (!namesOf(step.token, step.letters).empty()) return addNames(step);
  switch (step.fill ? ModelToken::kFM : step.token) {
    case ModelToken::kYYYY:
      addPair(Clock::kCentury);
      return addPair(Clock::kYearOfCentury);
    case ModelToken::kMM:
      return addPair(Clock::kMonth);
    case ModelToken::kDD:
      return addPair(Clock::kDay);
    case ModelToken::kHH:
    case ModelToken::kHH12:
      return addPair(Clock::kHourOfTwelve);
    case ModelToken::kHH24:
      return addPair(Clock::kHour);
    case ModelToken::kMI:
      return addPair(Clock::kMinute);
    case ModelToken::kSS:
      return addPair(Clock::kSecond);
    default:
      break;
  }
  if (step.token == ModelToken::kLiteral) return addLiteral(step.character);
  operations_.push_back({.kind = Kind::kOther, .first = static_cast<std::uint32_t>(index)});
  hasOthers_ = true;
  hasOtherClockFields_ |= sourceOf(step.token) == FieldSource::kClock;
  room_ += longestFieldText(step.token);
}

void PrintProgram::addLiteral(char literal) {
  if (operations_.empty() || operations_.back().textLength == sizeof Operation::text) {
    operations_.push_back({.kind = Kind::kTextAlone});
  }
  Operation& last = operations_.back();
  last.text[last.textLength++] = literal;
  ++room_;
}

void PrintProgram::addPair(ClockNumbers::Index index) {
  operations_.push_back({.kind = Kind::kPair, .index = index});
  room_ += 2;
}

void PrintProgram::addNames(const ModelTokenStep& step) {
  const std::span<const NameSlot> slots = namesOf(step.token, step.letters);
  const ClockNumbers::Index index = slots.size() == 12  ? ClockNumbers::kMonthIndex
                                    : slots.size() == 7 ? ClockNumbers::kWeekday
                                                        : ClockNumbers::kHalfOfDay;
  operations_.push_back({.kind = Kind::kName, .index = index, .first = static_cast<std::uint32_t>(names_.size())});
  std::tm clock{};
  for (std::size_t i = 0; i < slots.size(); ++i) {
    clock.tm_mon = clock.tm_wday = static_cast<int>(i);
    clock.tm_hour = static_cast<int>(12 * i);
    char text[kMaxFieldText];
    const char* const end = printField({step.token, step.letters, 0, step.fill}, {clock, 0}, text);
    Name& name = names_.emplace_back();
    name.length = static_cast<std::uint8_t>(end - text);
    std::memcpy(name.text, text, name.length);
  }
  room_ += sizeof Name::text;
}

}  // namespace kyv_internal
