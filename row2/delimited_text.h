#pragma once

// Text as one field of a delimited line, quoted where it has to be.

#include <array>
#include <span>
#include <string_view>

#include "kyv/byte_buffer.h"

namespace kyv_internal {

class DelimitedText {
 public:
  explicit DelimitedText(char separator);

  // Whether a text would be read back as another field, or as more or fewer than one: it is empty, has a separator, a
  // quote or a line end in it, or a blank at either end.
  bool needsQuotes(std::string_view text) const {
    if (text.empty() || text.front() == ' ' || text.back() == ' ') return true;
    for (const char c : text) {
      if (special_[static_cast<unsigned char>(c)]) return true;
    }
    return false;
  }

  // Whether the separator can occur in the text of a number, a boolean or bytes: letters, digits, signs and points.
  bool numbersMayNeedQuotes() const { return numbersMayNeedQuotes_; }

  // Prints the text, between quotes and with quotes in it doubled when it needs them, and returns its end. `out` has
  // room for twice the text and two quotes.
  char* print(std::string_view text, char* out) const;

  // The same for a packed string, which is looked at and copied in one go.
  char* print(std::span<const unsigned char> packed, char* out) const;

  // Appends the same, between quotes and with quotes in it doubled when it needs them.
  void append(std::string_view text, kyv::ByteBuffer& out) const;

 private:
  std::array<bool, 256> special_{};
  bool numbersMayNeedQuotes_;
};

}  // namespace kyv_internal
