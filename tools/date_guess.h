#pragma once

// Which of the usual ways of writing dates and timestamps a column's texts are in.
//
// A way is a "%" format. The texts must fit it strictly (a year in all its digits, a day that the month has), so that
// a column counts as dates only when nothing of its texts is lost. Fractions of a second are not part of a format.

#include <bitset>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kyv_internal {

inline constexpr std::size_t kMostFormats = 256;
using FormatSet = std::bitset<kMostFormats>;

// The formats that a column of one kind may have, in order of preference.
class FormatList {
 public:
  enum class Kind { kDate, kTimestamp };

  // All usual formats of the kind; a format that the user named is the only one.
  FormatList(Kind kind, const std::optional<std::string>& named);

  std::size_t size() const { return formats_.size(); }
  const std::string& operator[](std::size_t index) const { return formats_[index]; }

  // The set of all of them.
  FormatSet all() const { return FormatSet().set() >> (kMostFormats - formats_.size()); }
  // Leaves in `candidates` the formats that the text fits.
  void keepFitting(std::string_view text, FormatSet& candidates) const;

  // The same format with day and month swapped, if it is in the list.
  std::optional<std::size_t> twinOf(std::size_t index) const;

 private:
  std::vector<std::string> formats_;
  bool named_;
};

// Whether a text is a date and time as the format has it, strictly. For the conversions %Y %y %m %d %b %B %H %I %M %S
// %p.
bool fitsFormat(std::string_view text, std::string_view format);

// A timestamp's text without its fraction of a second.
struct TimestampText {
  std::string_view whole;
  std::size_t fractionDigits = 0;
};
// A fraction that is no number of digits is left where it is, where no format fits it. A "Z" behind one counts as part
// of it, because what reads timestamps reads over it.
TimestampText splitFraction(std::string_view text);

}  // namespace kyv_internal
