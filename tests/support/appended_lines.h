#pragma once

// A text of lines as records: one line after another, and many at once. Both give the same.

#include <cstddef>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "kyv/byte_buffer.h"
#include "kyv/connection_errors.h"
#include "kyv/connection_row_csv.h"

namespace kyv_test {

struct AppendedLines {
  std::string records;
  std::string messages;  // of each line that did not convert, and at which column

  bool operator==(const AppendedLines&) const = default;

  void addFailure(ConnectionErrors& errors, const ConnectionRowCsv& row) {
    messages += errors.report() + " " + std::to_string(row.failedColumn()) + "\n";
    errors.clear();
  }
};

inline std::string_view firstLineOf(std::string_view text) {
  return text.substr(0, text.find('\n') < text.size() ? text.find('\n') + 1 : text.size());
}

inline AppendedLines appendOneByOne(ConnectionRowCsv& row, std::string_view text) {
  AppendedLines all;
  ConnectionErrors errors;
  kyv::ByteBuffer out;
  unsigned long recordNo = 1;
  for (std::string_view line; !text.empty(); text.remove_prefix(line.size())) {
    line = firstLineOf(text);
    if (!row.appendRow(line, recordNo++, errors, out)) all.addFailure(errors, row);
  }
  all.records = out.view();
  return all;
}

// In portions of `mostBytes`, from memory of exactly the text's size.
inline AppendedLines appendManyAtOnce(ConnectionRowCsv& row, std::string_view lines,
                                      std::size_t mostBytes = std::numeric_limits<std::size_t>::max()) {
  const std::vector<char> memory(lines.begin(), lines.end());
  std::string_view text(memory.data(), memory.size());
  AppendedLines all;
  ConnectionErrors errors;
  unsigned long recordNo = 1;
  while (!text.empty()) {
    kyv::ByteBuffer out;
    const kyv::AppendedLines done = row.appendLines(text, recordNo, errors, out, mostBytes);
    all.records += out.view();
    recordNo += done.lines;
    text.remove_prefix(done.bytes);
    if (!done.failed) continue;
    all.addFailure(errors, row);
    ++recordNo;
    text.remove_prefix(firstLineOf(text).size());
  }
  return all;
}

}  // namespace kyv_test
