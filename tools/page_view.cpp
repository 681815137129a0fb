#include <algorithm>
#include <string_view>

#include "kyv/string_utility.h"
#include "page_style.h"
#include "printable_text.h"
#include "record_grid.h"
#include "record_view.h"

namespace kyv_internal {
namespace {

using DALVON::Kyv::strprintf;

constexpr std::size_t kValueBytes = 6;
constexpr std::size_t kHintBytes = 60;

// Text between tags or in an attribute.
std::string html(std::string_view text) {
  std::string out;
  for (const char c : text) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

const char* kindClass(PartKind kind) {
  switch (kind) {
    case PartKind::kHeader:
      return "word";
    case PartKind::kEntry:
      return "entry";
    case PartKind::kColumn:
      return "column";
    case PartKind::kOption:
      return "option";
    case PartKind::kGap:
      return "gap";
  }
  return "";
}

// What the pointer learns of a part, in a line.
std::string hint(const RecordPart& part) {
  std::string text = printableClipped(part.name, kHintBytes);
  if (!part.type.empty()) text += ", " + part.type;
  text += strprintf(": %zu bytes at 0x%zX", part.bytes.size(), part.bytes.begin);
  const std::string& content = part.text.empty() ? part.where : part.text;
  return content.empty() ? text : text + ": " + printableClipped(content, kHintBytes);
}

class SectionWriter {
 public:
  explicit SectionWriter(const RecordMap& map) : map_(map) {}

  std::string text(std::uint64_t number, std::uint64_t position) {
    addTitle(number, position);
    out_ += "<dl>\n";
    for (const std::size_t part : map_.header) addHeaderWord(part);
    out_ += "</dl>\n<div class=\"panes\">\n<pre aria-label=\"Bytes\">";
    for (const GridLine& line : gridOf(map_)) addLine(line);
    out_ +=
        "</pre>\n<div class=\"values\"><table>\n<thead><tr><th class=\"number\">#</th><th>column</th><th>type</th>"
        "<th>text</th><th class=\"number\">offset</th><th class=\"number\">length</th><th>bytes</th></tr></thead>\n"
        "<tbody>\n";
    for (const std::size_t row : map_.rows) addRow(row);
    out_ += "</tbody></table></div>\n</div>\n</section>\n";
    return std::move(out_);
  }

 private:
  void addTitle(std::uint64_t number, std::uint64_t position) {
    const auto wideNumber = static_cast<unsigned long long>(number);
    out_ +=
        strprintf("<section aria-labelledby=\"record-%llu\">\n<h2 id=\"record-%llu\">Record %llu <small>at byte %llu",
                  wideNumber, wideNumber, wideNumber, static_cast<unsigned long long>(position));
    const std::size_t faults = map_.faults().size();
    out_ += "</small>";
    if (faults > 0) out_ += strprintf(" <span class=\"fault\">%zu %s</span>", faults, faults == 1 ? "fault" : "faults");
    out_ += "</h2>\n";
  }

  std::string classesOf(std::size_t index) const {
    const RecordPart& part = map_.parts[index];
    std::string classes = kindClass(part.kind);
    const bool hasHue = part.kind != PartKind::kHeader && part.kind != PartKind::kGap;
    if (hasHue) classes += strprintf(" k%zu", part.tie % kPageHues);
    if (part.state != PartState::kPresent) classes += " absent";
    if (!map_.faultsOf(index).empty()) classes += " bad";
    return classes;
  }

  std::string focusable(std::size_t index) const {
    return strprintf(" class=\"%s\" data-t=\"%zu\" tabindex=\"0\"", classesOf(index).c_str(), map_.parts[index].tie);
  }

  void addHeaderWord(std::size_t index) {
    const RecordPart& part = map_.parts[index];
    out_ += "<div" + focusable(index) + "><dt>" + part.name + "</dt><dd>" + html(part.text) + "</dd>";
    for (const std::string& fault : map_.faultsOf(index)) out_ += "<dd class=\"fault\">" + html(fault) + "</dd>";
    out_ += "</div>\n";
  }

  // --- The bytes ---

  void addLine(const GridLine& line) {
    if (line.leftOut > 0) {
      out_ += strprintf("<i>      ... %zu bytes ...</i>\n", line.leftOut);
      return;
    }
    out_ += "<i>" + offsetLabel(map_, line.offset) + "</i>  ";
    std::size_t used = 0;
    for (const GridRun& run : line.runs) {
      const std::size_t spaces = spacesBefore(run.bytes.begin);
      const std::string bytes = hexRun(map_, run.bytes);
      out_ += std::string(spaces, ' ') + span(run.segment, bytes);
      used += spaces + bytes.size();
    }
    out_ += std::string(kGridWidth - used + 2, ' ');
    for (const GridRun& run : line.runs) out_ += span(run.segment, charactersRun(map_, run.bytes));
    out_ += "\n";
  }

  std::string span(std::size_t index, const std::string& text) const {
    const Segment& segment = map_.segments[index];
    std::string ties;
    std::string hints;
    for (const std::size_t part : segment.parts) {
      ties += (ties.empty() ? "" : " ") + std::to_string(map_.parts[part].tie);
      hints += (hints.empty() ? "" : "\noverlaps ") + hint(map_.parts[part]);
    }
    const std::string classes = classesOf(segment.parts.front()) + (segment.overlaps() ? " overlap" : "");
    return "<span class=\"" + classes + "\" data-t=\"" + ties + "\" title=\"" + html(hints) + "\">" + html(text) +
           "</span>";
  }

  // --- The values ---

  void addRow(std::size_t index) {
    const RecordPart& part = map_.parts[index];
    const bool isValue = part.kind != PartKind::kEntry && !part.bytes.empty();
    out_ += "<tr" + focusable(index) + "><td class=\"number\">" + part.mark + "</td><th scope=\"row\">" +
            html(part.name) + "</th><td>" + html(part.type) + "</td><td class=\"text\">" + html(part.text) +
            "</td><td class=\"number\">" + part.where + "</td><td class=\"number\">" +
            (isValue ? std::to_string(part.bytes.size()) : "") + "</td><td class=\"hex\">" +
            (isValue ? hexStart(map_, part.bytes, kValueBytes) : "") + "</td></tr>\n";
    for (const std::string& fault : map_.faultsOf(index)) {
      out_ += "<tr class=\"fault\"><td></td><td colspan=\"6\">" + html(fault) + "</td></tr>\n";
    }
  }

  const RecordMap& map_;
  std::string out_;
};

class PageView final : public RecordView {
 public:
  PageView(const std::string& file, const std::string& stream)
      : file_(html(escaped(file))), stream_(html(escaped(stream))) {}

  // The page loads nothing, and says so.
  std::string begin() const override {
    return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
           "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src 'unsafe-inline'; "
           "script-src 'unsafe-inline'\">\n"
           "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>" +
           file_ + "</title>\n<style>" + kPageStyle + "</style>\n</head>\n<body>\n<header><h1>" + file_ +
           "</h1>\n<p>Records of stream &quot;" + stream_ +
           "&quot;. Point at a value to see its bytes and its offset; a click keeps them lit.</p></header>\n<main>\n";
  }

  std::string record(const RecordMap& map, std::uint64_t number, std::uint64_t position) const override {
    return SectionWriter(map).text(number, position);
  }

  std::string end(const std::string& summary) const override {
    return "</main>\n<footer><p>" + html(summary) + "</p></footer>\n<script>" + kPageScript +
           "</script>\n</body>\n</html>\n";
  }

 private:
  std::string file_;
  std::string stream_;
};

}  // namespace

std::unique_ptr<RecordView> makePageView(const std::string& file, const std::string& stream) {
  return std::make_unique<PageView>(file, stream);
}

}  // namespace kyv_internal
