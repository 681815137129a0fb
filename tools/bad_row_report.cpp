#include "bad_row_report.h"

#include <algorithm>

#include "printable_text.h"

namespace kyv_internal {
namespace {

constexpr std::size_t kMostMessageBytes = 600;
constexpr std::size_t kMostRowBytes = 120;
constexpr std::size_t kBeforeField = 50;  // bytes shown to the left of the field in a clipped row
constexpr std::string_view kClipped = "...";
constexpr std::string_view kIndent = "    ";

// A part of the row, in bytes.
struct Extent {
  std::size_t begin;
  std::size_t end;
};

Extent lineAround(std::string_view row, std::size_t at) {
  const std::size_t before = at == 0 ? std::string_view::npos : row.rfind('\n', at - 1);
  const std::size_t begin = before == std::string_view::npos ? 0 : before + 1;
  std::size_t end = std::min(row.find('\n', at), row.size());
  if (end > begin && row[end - 1] == '\r') --end;
  return {begin, end};
}

// The line, or the part of it around the field, cut between characters.
Extent window(std::string_view row, Extent line, std::size_t field) {
  if (line.end - line.begin <= kMostRowBytes) return line;
  std::size_t begin = field - std::min(field - line.begin, kBeforeField);
  std::size_t end = std::min(begin + kMostRowBytes, line.end);
  begin = std::max(line.begin, end - kMostRowBytes);
  while (begin < field && continuesCharacter(row[begin])) ++begin;
  while (end < line.end && end > field && continuesCharacter(row[end])) --end;
  return {begin, end};
}

// What is shown of a text, and the line under it.
struct ShownText {
  std::string text;
  std::string caret;
};

ShownText showText(std::string_view text, Extent part) {
  const Extent line = lineAround(text, part.begin);
  const Extent shown = window(text, line, part.begin);
  const std::string_view left = shown.begin > line.begin ? kClipped : "";
  ShownText out;
  out.text = std::string(kIndent) + std::string(left) + printable(text.substr(shown.begin, shown.end - shown.begin));
  if (shown.end < line.end) out.text += kClipped;

  const std::string_view before = text.substr(shown.begin, part.begin - shown.begin);
  const std::size_t end = std::max(std::min(part.end, shown.end), part.begin);
  const std::size_t under = countCharacters(text.substr(part.begin, end - part.begin));
  out.caret = std::string(kIndent.size() + left.size() + countCharacters(before), ' ') + '^';
  out.caret.append(under > 0 ? under - 1 : 0, '~');
  return out;
}

std::string shownRow(const BadRowReport& report) {
  const ShownText shown = showText(report.row, {report.fieldBegin, report.fieldEnd});
  return shown.text + '\n' + (report.column.empty() ? "" : shown.caret + '\n');
}

}  // namespace

std::string reportText(const BadRowReport& report) {
  std::string out = printable(report.file) + ":";
  if (report.line > 0) out += std::to_string(report.line) + ":";
  out += ' ';
  if (!report.column.empty()) out += "column \"" + printable(report.column) + "\": ";
  out += printableClipped(report.message, kMostMessageBytes) + '\n';
  return report.row.empty() ? out : out + shownRow(report);
}

std::string markedText(std::string_view text, std::size_t begin, std::size_t end) {
  const ShownText shown = showText(text, {begin, end});
  return shown.text + '\n' + shown.caret;
}

}  // namespace kyv_internal
