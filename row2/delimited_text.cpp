#include "row2/delimited_text.h"

#include <cstddef>
#include <cstring>

#include "datatypes/value_codec.h"

namespace kyv_internal {

namespace {

constexpr char kQuote = '"';
constexpr std::string_view kNumberCharacters = "0123456789ABCDEFabcdefghijklmnopqrstuvwxyz+-.";

char* printQuoted(std::string_view text, char* out) {
  *out++ = kQuote;
  for (const char c : text) {
    if (c == kQuote) *out++ = kQuote;
    *out++ = c;
  }
  *out++ = kQuote;
  return out;
}

}  // namespace

DelimitedText::DelimitedText(char separator)
    : numbersMayNeedQuotes_(kNumberCharacters.find(separator) != std::string_view::npos) {
  for (const char c : {separator, kQuote, '\n', '\r'}) special_[static_cast<unsigned char>(c)] = true;
}

char* DelimitedText::print(std::string_view text, char* out) const {
  if (needsQuotes(text)) return printQuoted(text, out);
  std::memcpy(out, text.data(), text.size());
  return out + text.size();
}

char* DelimitedText::print(std::span<const unsigned char> packed, char* out) const {
  bool hasSpecial = false;
  std::size_t size = 0;
  for (; size < packed.size() && packed[size] != 0; ++size) {
    hasSpecial |= special_[packed[size]];
    out[size] = static_cast<char>(packed[size]);
  }
  const bool stands = !hasSpecial && size != 0 && out[0] != ' ' && out[size - 1] != ' ';
  return stands ? out + size : print(packedString(packed), out);
}

void DelimitedText::append(std::string_view text, kyv::ByteBuffer& out) const {
  char* const begin = out.prepare(2 * text.size() + 2);
  out.commit(static_cast<std::size_t>(print(text, begin) - begin));
}

}  // namespace kyv_internal
