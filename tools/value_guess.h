#pragma once

// Which type all values of a column have in common, from their texts. What the guess keeps does not grow with the rows.
//
// A guess loses nothing: a text that its type would not give back in full (a code with leading zeros, more digits than
// a number holds) makes the column text.

#include <cstdint>
#include <string_view>

#include "date_guess.h"

namespace kyv_internal {

// How a number is written, as bits of a set.
enum NumberForms : unsigned {
  kSmallInteger = 1,  // of 32 bits
  kLongInteger = 2,   // of 64 bits, and a float holds it exactly
  kWideInteger = 4,   // of 64 bits, too wide for a float
  kFraction = 8,      // with a point or an exponent
  kNoNumber = 16,
};
unsigned numberForm(std::string_view text);

// The words that mean true or false, as bits of a set; kNoBoolean for any other text, 0 and 1 among them.
unsigned booleanWord(std::string_view text);
inline constexpr unsigned kNoBoolean = 1U << 31U;
// Whether a set of such words is a boolean column: all of one pair. Single letters must show both of the pair.
bool isBooleanColumn(unsigned words);

struct ColumnFormats {
  FormatList dates;
  FormatList timestamps;
};

class ColumnGuess {
 public:
  enum class Empty { kNull, kText };

  // The formats must outlive the guess.
  explicit ColumnGuess(const ColumnFormats& formats);

  void add(std::string_view text);
  // An empty field: a NULL, or one in quotes, which is a text only in a column of texts.
  void addEmpty(Empty empty) { ++(empty == Empty::kNull ? nulls_ : emptyTexts_); }

  // The type of the column when it is neither a date nor a timestamp: string when nothing else fits.
  unsigned int plainType() const;
  // The formats that all values fit; none when there are no values.
  FormatSet dateFormats() const { return values_ > 0 ? dates_ : FormatSet(); }
  FormatSet timestampFormats() const { return values_ > 0 ? timestamps_ : FormatSet(); }
  // timestamp, or bigdatetime where some fraction needs it.
  unsigned int timestampType() const;

  // How many NULLs a column of that type has.
  std::uint64_t nulls(unsigned int type) const;

 private:
  void addTimestamp(std::string_view text);

  const ColumnFormats* formats_;
  std::uint64_t values_ = 0;
  std::uint64_t nulls_ = 0;
  std::uint64_t emptyTexts_ = 0;
  unsigned numberForms_ = 0;
  unsigned booleanWords_ = 0;
  FormatSet dates_;
  FormatSet timestamps_;
  std::size_t fractionDigits_ = 0;  // the most that a timestamp has
};

}  // namespace kyv_internal
