#include "row_converter.h"

#include "text_layout.h"

namespace kyv_internal {

void ConvertedBlock::clear() {
  output.clear();
  badRows.clear();
  rows = blankLines = lines = 0;
  textBytes = 0;
  header = {};
}

void RowConverter::convert(std::string_view text, FirstLine firstLine, ConvertedBlock& out, std::size_t mostBytes) {
  out.clear();
  blockHoldsNul_ = text.find('\0') != std::string_view::npos;
  bool headerIsNext = firstLine == FirstLine::kHeader;
  std::size_t& at = out.textBytes;
  while (at < text.size() && out.bytes() < mostBytes) {
    const Extent extent = readRow(text.substr(at));
    const std::string_view row = text.substr(at, extent.size);
    if ((headerIsNext || skipsBlankLines()) && isBlankLine(row)) {
      ++out.blankLines;
    } else if (headerIsNext) {
      headerIsNext = false;
      out.header = row;
    } else {
      convertRow(row, at, out);
    }
    out.lines += static_cast<std::uint32_t>(extent.lines);
    at += extent.size;
  }
}

void RowConverter::convertRow(std::string_view row, std::size_t begin, ConvertedBlock& out) {
  if (!appendRow(row, out.rows, out.output)) {
    errors_.clear();
    out.badRows.push_back({out.rows, out.lines, out.blankLines, static_cast<std::uint32_t>(begin),
                           static_cast<std::uint32_t>(row.size()), static_cast<std::uint32_t>(out.output.size())});
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
