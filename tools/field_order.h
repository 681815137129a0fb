#pragma once

// What --permutation says: from which field of a line each column of a stream is taken, and which field it becomes.
//
// Threads: set up by one; any number may ask afterwards.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "kyv/connection_permutation.h"
#include "kyv/stream_schema.h"
#include "text_layout.h"

namespace kyv_internal {

inline constexpr int kNoField = -1;

class FieldOrder {
 public:
  // Reads the text: pairs COLUMN=FIELD with colons between them, for the columns of this schema. The external order is
  // then that of the pairs. False, with a fault, when the text is misformatted or has a column that is not there.
  [[nodiscard]] bool read(const std::string& text, const kyv::StreamSchema& schema);
  // Takes the external order from a header's names. False, with a fault, when a field of the text is not among them.
  [[nodiscard]] bool useHeader(const std::vector<std::string>& names);
  // Takes fields by their number: field_00 is the first. False, with a fault, when a field of the text has no number.
  [[nodiscard]] bool useNumbers();
  // For lines to be written: fields by their number where all have one, up to the highest; else those of the text.
  void useNumbersOrPairs();

  // What was wrong, as lines of text: the message, and the pair with a caret under it.
  std::string fault() const;

  const ConnectionPermutation& permutation() const { return permutation_; }
  // Which paired field's name stands in the header again, and which is taken; empty without one.
  std::string namedTwice() const;
  // The position of a column's field, or kNoField.
  int fieldOf(int column) const;
  // The column of a field, or -1.
  int columnOf(int field) const;
  // Why a line with so many fields cannot be reordered, or an empty text.
  std::string refuse(std::size_t fields) const;

 private:
  bool prepare();

  ConnectionPermutation permutation_;
  std::string text_;
  std::string error_;
  bool numbered_ = false;         // fields are called by their number
  std::size_t headerFields_ = 0;  // fields that every line must have; 0 without a header
  std::size_t neededFields_ = 0;  // fields that a line must have at least
};

// The names in the header at the start of a text, those of the service fields left out. Blank lines above it do not
// count.
std::vector<std::string> headerNames(std::string_view text, const TextLayout& layout);

}  // namespace kyv_internal
