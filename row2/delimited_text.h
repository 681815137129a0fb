#pragma once

// Text as one field of a delimited line, quoted where it has to be.

#include <array>
#include <string_view>

#include "kyv/byte_buffer.h"

namespace kyv_internal {

class DelimitedText {
 public:
  explicit DelimitedText(char separator);

  char separator() const { return separator_; }

  // Whether a character cannot stand in an unquoted field.
  bool isSpecial(char c) const { return special_[static_cast<unsigned char>(c)]; }

  // Whether a text would be read back as another field, or as more or fewer than one: it is empty, has a separator, a
  // quote or a line end in it, or a blank at either end.
  bool needsQuotes(std::string_view text) const;

  // Appends the text, between quotes and with quotes in it doubled when it needs them.
  void append(std::string_view text, kyv::ByteBuffer& out) const;

 private:
  char separator_;
  std::array<bool, 256> special_{};
};

}  // namespace kyv_internal
