#include "connection/csv_line.h"

#include "services/byte_search.h"

namespace kyv_internal {

namespace {

constexpr char kSingleQuote = '\'';
constexpr char kDoubleQuote = '"';

constexpr bool isQuote(char c) { return c == kSingleQuote || c == kDoubleQuote; }

// A line and what may be done to it.
struct Line {
  std::string_view text;
  char* writable;

  // The field between two positions.
  RowField field(std::size_t begin, std::size_t end) const {
    if (begin == end) return {};
    if (isQuote(text[begin])) return quotedField(begin, end);
    return {text.data() + begin, end - begin};
  }

  [[gnu::noinline]] RowField quotedField(std::size_t begin, std::size_t end) const {
    const std::string_view whole = text.substr(begin, end - begin);
    const std::string_view bare = withoutQuotes(whole);
    if (writable != nullptr && bare.size() != whole.size()) writable[end - 1] = 0;
    if (bare.empty()) return {};
    return {bare.data(), bare.size()};
  }
};

}  // namespace

std::string_view withoutLineEnd(std::string_view line) {
  if (line.ends_with('\n')) line.remove_suffix(1);
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

std::string_view withoutQuotes(std::string_view text) {
  if (text.size() < 2 || text.front() != text.back() || !isQuote(text.front())) return text;
  return text.substr(1, text.size() - 2);
}

std::size_t splitFields(std::string_view text, char* writable, char separator, std::span<RowField> fields) {
  const Line line{text, writable};
  std::size_t count = 0;
  std::size_t begin = 0;
  forEachMatch(text, separator, [&](std::size_t end) {
    if (count == fields.size()) return false;
    fields[count++] = line.field(begin, end);
    begin = end + 1;
    return true;
  });
  if (count < fields.size()) fields[count] = line.field(begin, text.size());
  return count + 1;
}

}  // namespace kyv_internal
