#include "row_converter.h"

#include "kyv/string_utility.h"
#include "text_layout.h"

namespace kyv_internal {

void ConvertedBlock::passOver() {
  const auto at = static_cast<std::uint32_t>(output.size());
  if (gaps.empty() || gaps.back().outputBytes != at) gaps.push_back({at, 0});
  ++gaps.back().rows;
}

void ConvertedBlock::clear() {
  static_cast<ReadRows&>(*this) = {};
  output.clear();
  badRows.clear();
  gaps.clear();
}

RowConverter::LineKind RowConverter::kindOf(std::string_view row, FirstLine& firstLine) const {
  const bool headerIsNext = firstLine == FirstLine::kHeader;
  if ((headerIsNext || skipsBlankLines()) && isBlankLine(row)) {
    return headerIsNext ? LineKind::kAboveHeader : LineKind::kBlank;
  }
  firstLine = FirstLine::kRow;
  return headerIsNext ? LineKind::kHeader : LineKind::kRow;
}

void RowConverter::convert(std::string_view text, FirstLine firstLine, ConvertedBlock& out, std::size_t mostBytes) {
  out.clear();
  blockHoldsNul_ = text.find('\0') != std::string_view::npos;
  const bool atOnce = !check_ && appendsRows();
  std::size_t& at = out.textBytes;
  while (at < text.size() && out.bytes() < mostBytes) {
    const bool mayConvert = !atOnce || firstLine == FirstLine::kHeader || convertRows(text.substr(at), mostBytes, out);
    if (at == text.size() || out.bytes() >= mostBytes) break;
    const Extent extent = readRow(text.substr(at));
    const std::string_view row = text.substr(at, extent.size);
    switch (kindOf(row, firstLine)) {
      case LineKind::kRow:
        convertRow(row, mayConvert, out);
        break;
      case LineKind::kHeader:
        out.header = row;
        break;
      case LineKind::kBlank:
        out.passOver();
        [[fallthrough]];
      case LineKind::kAboveHeader:
        ++out.blankLines;
    }
    out.lines += static_cast<std::uint32_t>(extent.lines);
    at += extent.size;
  }
}

// What can be converted at once. False when the row behind that is known not to convert.
bool RowConverter::convertRows(std::string_view text, std::size_t mostBytes, ConvertedBlock& out) {
  const std::size_t room = mostBytes - (out.bytes() - out.output.size());
  const RowsDone done = appendRows(text, out.rows, out.output, room);
  out.rows += static_cast<std::uint32_t>(done.rows);
  out.lines += static_cast<std::uint32_t>(done.rows);
  out.textBytes += done.bytes;
  if (done.nextFailed) errors_.clear();
  return !done.nextFailed;
}

void RowConverter::convertRow(std::string_view row, bool mayConvert, ConvertedBlock& out) {
  const std::size_t before = out.output.size();
  if (!mayConvert || !appendChecked(row, out.rows, out.output)) {
    errors_.clear();
    out.badRows.push_back({out.rows, out.lines, out.blankLines, static_cast<std::uint32_t>(out.textBytes),
                           static_cast<std::uint32_t>(row.size()), static_cast<std::uint32_t>(before)});
    out.passOver();
  }
  ++out.rows;
}

bool RowConverter::appendChecked(std::string_view row, unsigned long recordNo, kyv::ByteBuffer& out) {
  const std::size_t before = out.size();
  objection_.reset();
  if (!appendRow(row, recordNo, out)) return false;
  if (check_) objection_ = check_(out.view().substr(before));
  if (!objection_) return true;
  out.truncate(before);
  errors_.addGeneral(DALVON::Kyv::strprintf("record %lu: %s", recordNo, objection_->message.c_str()));
  return false;
}

void RowConverter::skip(std::string_view text, FirstLine firstLine, std::uint64_t most, ReadRows& out) {
  out = {};
  while (out.textBytes < text.size() && std::uint64_t{out.rows} + out.blankLines < most) {
    const Extent extent = readRow(text.substr(out.textBytes));
    const std::string_view row = text.substr(out.textBytes, extent.size);
    const LineKind kind = kindOf(row, firstLine);
    if (kind == LineKind::kHeader) out.header = row;
    if (kind == LineKind::kRow) ++out.rows;
    if (kind == LineKind::kBlank) ++out.blankLines;
    out.lines += static_cast<std::uint32_t>(extent.lines);
    out.textBytes += extent.size;
  }
}

RowFault RowConverter::lastFault(int column) {
  RowFault fault;
  if (!errors_.general().empty()) fault.message = errors_.general().back();
  fault.column = objection_ ? objection_->column : column;
  errors_.clear();
  return fault;
}

}  // namespace kyv_internal
