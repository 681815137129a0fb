#include "connection/csv_line.h"

#include "services/byte_search.h"

namespace kyv_internal {

namespace {

constexpr char kSingleQuote = '\'';
constexpr char kDoubleQuote = '"';

// The field between two positions of the line.
RowField fieldAt(std::string_view line, char* writable, std::size_t begin, std::size_t end) {
  const std::string_view text = line.substr(begin, end - begin);
  const std::string_view bare = withoutQuotes(text);
  if (writable != nullptr && bare.size() != text.size()) writable[end - 1] = 0;
  if (bare.empty()) return {};
  return {bare.data(), bare.size()};
}

// How a line's pieces become fields: as they are when no quote is in the line, else with quotes removed.
struct BarePieces {
  std::string_view line;

  RowField operator()(std::size_t begin, std::size_t end) const {
    return {begin == end ? nullptr : line.data() + begin, end - begin};
  }
};

struct QuotedPieces {
  std::string_view line;
  char* writable;

  RowField operator()(std::size_t begin, std::size_t end) const { return fieldAt(line, writable, begin, end); }
};

template <class Pieces>
std::size_t split(std::string_view line, char separator, std::span<RowField> fields, Pieces fieldOf) {
  std::size_t count = 0;
  std::size_t begin = 0;
  forEachMatch(line, separator, [&](std::size_t end) {
    if (count == fields.size()) return false;
    fields[count++] = fieldOf(begin, end);
    begin = end + 1;
    return true;
  });
  if (count < fields.size()) fields[count] = fieldOf(begin, line.size());
  return count + 1;
}

}  // namespace

std::string_view withoutLineEnd(std::string_view line) {
  if (line.ends_with('\n')) line.remove_suffix(1);
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

std::string_view withoutQuotes(std::string_view text) {
  if (text.size() < 2 || text.front() != text.back()) return text;
  if (text.front() != kSingleQuote && text.front() != kDoubleQuote) return text;
  return text.substr(1, text.size() - 2);
}

std::size_t splitFields(std::string_view line, char* writable, char separator, std::span<RowField> fields) {
  if (!containsEither(line, kSingleQuote, kDoubleQuote)) return split(line, separator, fields, BarePieces{line});
  return split(line, separator, fields, QuotedPieces{line, writable});
}

}  // namespace kyv_internal
