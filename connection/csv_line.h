#pragma once

// The parts of one delimited line: its end, its fields, their quotes. Knows no schema.

#include <cstddef>
#include <span>
#include <string_view>

#include "row2/row_field.h"

namespace kyv_internal {

// The line without a trailing line feed and a carriage return before it, or without a lone trailing carriage return.
constexpr std::string_view withoutLineEnd(std::string_view line) {
  if (line.ends_with('\n')) line.remove_suffix(1);
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

// The first line of a text, with its line feed; all of the text without one.
constexpr std::string_view firstLine(std::string_view text) {
  const std::size_t lineFeed = text.find('\n');
  return lineFeed == std::string_view::npos ? text : text.substr(0, lineFeed + 1);
}

// A text that begins and ends with the same quote, single or double, without the two. A lone quote is kept.
std::string_view withoutQuotes(std::string_view text);

// Splits a line at each separator into at most `fields.size()` fields, quotes removed, an empty one NULL; closing
// quotes are overwritten with terminators. Returns how many the line has, which is the separators plus one; counting
// stops at one more than there is room for. REQUIRES: the line lies in memory from allocateLine().
std::size_t splitFields(std::span<char> line, char separator, std::span<RowField> fields);

}  // namespace kyv_internal
