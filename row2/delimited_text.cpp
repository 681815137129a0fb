#include "row2/delimited_text.h"

#include <cstddef>

namespace kyv_internal {

namespace {

constexpr char kQuote = '"';
constexpr std::string_view kNumberCharacters = "0123456789ABCDEFabcdefghijklmnopqrstuvwxyz+-.";

void appendQuoted(std::string_view text, kyv::ByteBuffer& out) {
  char* const begin = out.prepare(2 * text.size() + 2);
  char* end = begin;
  *end++ = kQuote;
  for (const char c : text) {
    if (c == kQuote) *end++ = kQuote;
    *end++ = c;
  }
  *end++ = kQuote;
  out.commit(static_cast<std::size_t>(end - begin));
}

}  // namespace

DelimitedText::DelimitedText(char separator)
    : numbersMayNeedQuotes_(kNumberCharacters.find(separator) != std::string_view::npos) {
  for (const char c : {separator, kQuote, '\n', '\r'}) special_[static_cast<unsigned char>(c)] = true;
}

void DelimitedText::append(std::string_view text, kyv::ByteBuffer& out) const {
  if (needsQuotes(text)) {
    appendQuoted(text, out);
  } else {
    out.append(text);
  }
}

}  // namespace kyv_internal
