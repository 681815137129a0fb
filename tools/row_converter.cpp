#include "row_converter.h"

namespace kyv_internal {
namespace {

bool isBlank(std::string_view row) { return row == "\n" || row == "\r\n" || row == "\r"; }

}  // namespace

void ConvertedBlock::clear() {
  output.clear();
  badRows.clear();
  rows = blankLines = lines = 0;
  headerBytes = 0;
}

void RowConverter::convert(std::string_view text, FirstLine firstLine, ConvertedBlock& out) {
  out.clear();
  std::size_t at = 0;
  if (firstLine == FirstLine::kHeader && !text.empty()) {
    const Extent header = readRow(text);
    out.headerBytes = at = header.size;
    out.lines = static_cast<std::uint32_t>(header.lines);
  }
  while (at < text.size()) {
    const Extent extent = readRow(text.substr(at));
    convertRow(text.substr(at, extent.size), at, out);
    out.lines += static_cast<std::uint32_t>(extent.lines);
    at += extent.size;
  }
}

void RowConverter::convertRow(std::string_view row, std::size_t begin, ConvertedBlock& out) {
  if (skipsBlankLines() && isBlank(row)) {
    ++out.blankLines;
    return;
  }
  if (!appendRow(row, out.rows, out.output)) {
    errors_.clear();
    out.badRows.push_back({out.rows, out.lines, out.blankLines, static_cast<std::uint32_t>(begin),
                           static_cast<std::uint32_t>(row.size()), out.output.size()});
  }
  ++out.rows;
}

RowFault RowConverter::lastFault(int column) {
  RowFault fault;
  if (!errors_.general().empty()) fault.message = errors_.general().back();
  fault.column = column;
  errors_.clear();
  return fault;
}

}  // namespace kyv_internal
