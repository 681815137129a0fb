#pragma once

// How a bad row is shown to the person at the terminal: where it is, what is wrong, the row itself, and a caret under
// the field that is to blame.
//
//   trades.csv:3: column "Price": record 2: Error converting data 'x'->FLOAT for ...: float constant does not ...
//       7,x,2024-01-31
//         ^

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kyv_internal {

struct BadRowReport {
  std::string_view file;
  std::uint64_t line = 0;   // the first is 1; 0 where rows are no lines
  std::string_view column;  // empty when no single column is to blame
  std::string_view message;
  std::string_view row;        // as it stands in the file; empty when it cannot be shown
  std::size_t fieldBegin = 0;  // in the row; an empty extent gets no caret unless a column is named
  std::size_t fieldEnd = 0;
};

// The report as lines of text. A long message loses its middle; of a long row the part around the field is shown, and
// of a row of several lines the line in which the field begins.
std::string reportText(const BadRowReport& report);

// A text and a caret under a part of it, as two lines without a line feed behind; of a long text the part around.
std::string markedText(std::string_view text, std::size_t begin, std::size_t end);

}  // namespace kyv_internal
