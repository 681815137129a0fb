#pragma once

// The short way to print by any model: literals that stand together are one piece of text, fields of two digits and
// names are copied from tables. It is for years of four digits; other times go the long way, which gives the same
// results.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

#include "datatypes/civil_time.h"
#include "datatypes/model_tokens.h"
#include "datatypes/two_digits.h"

namespace kyv_internal {

// A time as the program's steps look it up.
class ClockNumbers {
 public:
  enum Index : std::uint8_t {
    kCentury,
    kYearOfCentury,
    kMonth,
    kDay,
    kHour,
    kHourOfTwelve,
    kMinute,
    kSecond,
    kMonthIndex,
    kWeekday,
    kHalfOfDay,
    kIndices
  };

  // REQUIRES: the year has at most four digits.
  explicit ClockNumbers(std::int64_t seconds);

  std::uint8_t operator[](Index index) const { return numbers_[index]; }

 private:
  std::array<std::uint8_t, kIndices> numbers_;
};

class PrintProgram {
 public:
  explicit PrintProgram(std::span<const ModelTokenStep> steps);

  // Bytes that print() may write, behind the text as well, but for names of zones.
  std::size_t room() const { return room_; }

  // Whether print() needs `other`, and whether for fields of the clock.
  bool hasOthers() const { return hasOthers_; }
  bool hasOtherClockFields() const { return hasOtherClockFields_; }

  // Prints a time into `out`, which has that room, and returns the end. `other(step, out)` prints the steps that are
  // not known here and returns their end, null for one that cannot be printed; then so is the whole.
  template <class Other>
  char* print(const ClockNumbers& clock, char* out, Other other) const {
    for (const Operation& operation : operations_) {
      switch (operation.kind) {
        case Kind::kTextAlone:
          break;
        case Kind::kPair:
          out = printTwoDigits(clock[operation.index], out);
          break;
        case Kind::kName:
          out = copyName(names_[operation.first + clock[operation.index]], out);
          break;
        case Kind::kOther:
          out = other(operation.first, out);
          if (out == nullptr) return nullptr;
          break;
      }
      std::memcpy(out, operation.text, sizeof operation.text);
      out += operation.textLength;
    }
    return out;
  }

 private:
  enum class Kind : std::uint8_t { kTextAlone, kPair, kName, kOther };

  // A name as it is printed, blanks before it included.
  struct Name {
    char text[15];
    std::uint8_t length;
  };

  // A field and the text behind it.
  struct Operation {
    Kind kind;
    ClockNumbers::Index index{};  // of a pair or a name
    std::uint8_t textLength = 0;
    std::uint32_t first = 0;  // of names, the first one; of another step, its index
    char text[8]{};
  };

  void add(const ModelTokenStep& step, std::size_t index);
  void addLiteral(char literal);
  void addPair(ClockNumbers::Index index);
  void addNames(const ModelTokenStep& step);

  static char* copyName(const Name& name, char* out) {
    std::memcpy(out, name.text, sizeof name.text);
    return out + name.length;
  }

  std::vector<Operation> operations_;
  std::vector<Name> names_;
  std::size_t room_ = sizeof Operation::text;
  bool hasOthers_ = false;
  bool hasOtherClockFields_ = false;
};

}  // namespace kyv_internal
