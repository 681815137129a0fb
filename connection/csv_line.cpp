#include "connection/csv_line.h"

#include "row2/line_pieces.h"

namespace kyv_internal {

namespace {

// A field without its quotes, the closing one overwritten.
RowField fieldOf(LinePiece piece, char* line) {
  const std::string_view bare = withoutQuotes(piece);
  if (bare.size() < piece.size()) line[bare.data() + bare.size() - line] = 0;
  if (bare.empty()) return {};
  return {bare.data(), bare.size()};
}

}  // namespace

std::string_view withoutQuotes(std::string_view text) {
  if (text.size() < 2 || text.front() != text.back() || !isQuote(text.front())) return text;
  return text.substr(1, text.size() - 2);
}

std::size_t splitFields(std::span<char> line, char separator, std::span<RowField> fields) {
  LinePieces pieces(line, separator);
  LinePiece piece;
  std::size_t count = 0;
  while (count <= fields.size() && pieces.next(piece)) {
    if (count < fields.size()) fields[count] = fieldOf(piece, line.data());
    ++count;
  }
  return count;
}

}  // namespace kyv_internal
