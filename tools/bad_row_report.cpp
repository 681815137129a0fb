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

std::string shownRow(const BadRowReport& report) {
  const Extent line = lineAround(report.row, report.fieldBegin);
  const Extent shown = window(report.row, line, report.fieldBegin);
  const std::string_view left = shown.begin > line.begin ? kClipped : "";
  std::string out(kIndent);
  out += left;
  out += printable(report.row.substr(shown.begin, shown.end - shown.begin));
  if (shown.end < line.end) out += kClipped;
  out += '\n';
  if (report.column.empty()) return out;

  const std::string_view before = report.row.substr(shown.begin, report.fieldBegin - shown.begin);
  const std::size_t end = std::max(std::min(report.fieldEnd, shown.end), report.fieldBegin);
  const std::size_t under = countCharacters(report.row.substr(report.fieldBegin, end - report.fieldBegin));
  out.append(kIndent.size() + left.size() + countCharacters(before), ' ');
  out += '^';
  out.append(under > 0 ? under - 1 : 0, '~');
  return out + '\n';
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

}  // namespace kyv_internal
