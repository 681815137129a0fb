#include "record_text.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "kyv/string_utility.h"
#include "printable_text.h"
#include "record_grid.h"

namespace kyv_internal {
namespace {

using DALVON::Kyv::strprintf;

constexpr std::size_t kWidth = 100;
constexpr std::size_t kMostNameWidth = 22;
constexpr std::size_t kMostTypeWidth = 14;
constexpr std::size_t kValueBytes = 6;
constexpr std::size_t kBytesWidth = kValueBytes * 3 + 2;
constexpr std::size_t kLeastTextWidth = 24;
constexpr std::size_t kHexWidth = kGridBytes * 3 + kGridBytes / kGridGroup - 2;
constexpr char kIndent[] = "  ";

// Escape sequences of a terminal: neighbours among values differ, red is for what is wrong.
constexpr std::array<const char*, 5> kValueColours = {"36", "33", "35", "32", "94"};
constexpr char kHeaderColour[] = "1";
constexpr char kGapColour[] = "2";
constexpr char kFaultColour[] = "1;31";
constexpr char kOverlapColour[] = "7;31";

// Text with blanks behind it up to a width on the screen.
std::string padded(const std::string& text, std::size_t width) {
  return text + std::string(width - std::min(width, countCharacters(text)), ' ');
}
std::string paddedLeft(const std::string& text, std::size_t width) {
  return std::string(width - std::min(width, text.size()), ' ') + text;
}

// At most `width` characters of a harmless text.
std::string clipped(const std::string& text, std::size_t width) {
  constexpr std::size_t kLeftOutWidth = 5;  // " ... "
  return countCharacters(text) <= width ? text : printableClipped(text, width - kLeftOutWidth);
}

class RecordWriter {
 public:
  RecordWriter(const RecordMap& map, Colour colour) : map_(map), colour_(colour) {}

  std::string text(std::uint64_t number, std::uint64_t position) {
    const std::size_t faults = map_.faults().size();
    out_ = strprintf("Record %llu, at byte %llu", static_cast<unsigned long long>(number),
                     static_cast<unsigned long long>(position));
    if (faults > 0) out_ += ": " + painted(kFaultColour, strprintf(faults == 1 ? "%zu fault" : "%zu faults", faults));
    out_ += "\n";
    for (const std::size_t part : map_.header) addHeaderWord(part);
    out_ += "\n";
    addGrid();
    out_ += "\n";
    addRows();
    return std::move(out_);
  }

 private:
  std::string painted(const char* colour, const std::string& text) const {
    return colour_ == Colour::kNone || text.empty() ? text : "\x1B[" + std::string(colour) + "m" + text + "\x1B[0m";
  }

  const char* colourOf(std::size_t index) const {
    const RecordPart& part = map_.parts[index];
    if (part.kind == PartKind::kHeader) return kHeaderColour;
    if (part.kind == PartKind::kGap) return kGapColour;
    return kValueColours[part.tie % kValueColours.size()];
  }
  const char* colourOf(const Segment& segment) const {
    return segment.overlaps() ? kOverlapColour : colourOf(segment.parts.front());
  }

  void addHeaderWord(std::size_t index) {
    const RecordPart& part = map_.parts[index];
    out_ += kIndent + padded(part.name, 11) + part.text + "\n";
    addFaults(index, 13);
  }

  void addFaults(std::size_t part, std::size_t indent) {
    for (const std::string& fault : map_.faultsOf(part)) {
      out_ += std::string(indent, ' ') + painted(kFaultColour, "! " + fault) + "\n";
    }
  }

  // --- The bytes ---

  void addGrid() {
    out_ += painted(kGapColour, "        0  1  2  3   4  5  6  7   8  9  a  b   c  d  e  f") + "\n";
    for (const GridLine& line : gridOf(map_)) {
      if (line.leftOut > 0) {
        out_ += painted(kGapColour, strprintf("        ... %zu bytes ...", line.leftOut)) + "\n";
      } else {
        addLine(line);
      }
    }
  }

  void addLine(const GridLine& line) {
    std::string hex;
    std::string characters;
    std::string marks;
    std::size_t used = 0;
    for (const GridRun& run : line.runs) {
      const Segment& segment = map_.segments[run.segment];
      const std::string space(spacesBefore(run.bytes.begin), ' ');
      const std::string bytes = hexRun(map_, run.bytes);
      hex += space + painted(colourOf(segment), bytes);
      marks += space + painted(colourOf(segment), markBelow(segment, bytes.size()));
      characters += painted(colourOf(segment), charactersRun(map_, run.bytes));
      used += space.size() + bytes.size();
    }
    out_ += strprintf("  %04zx  ", line.offset) + hex + std::string(kHexWidth - used + 2, ' ') + characters + "\n";
    out_ += std::string(8, ' ') + marks + "\n";
  }

  // A line as wide as the bytes above it that begins with the name of their part.
  std::string markBelow(const Segment& segment, std::size_t width) const {
    std::string mark;
    for (const std::size_t part : segment.parts) mark += (mark.empty() ? "" : "!") + map_.parts[part].mark;
    if (mark.size() > width) mark = segment.overlaps() ? "!" : "";
    const char filler = map_.parts[segment.parts.front()].kind == PartKind::kGap ? '.' : '-';
    return mark + std::string(width - mark.size(), filler);
  }

  // --- The values ---

  void addRows() {
    for (const std::size_t row : map_.rows) {
      const RecordPart& part = map_.parts[row];
      nameWidth_ = std::max(nameWidth_, std::min(countCharacters(part.name), kMostNameWidth));
      typeWidth_ = std::max(typeWidth_, std::min(part.type.size(), kMostTypeWidth));
    }
    const std::string heads = rowStart("#", "column", "type", "offset", "length");
    out_ += painted(kGapColour, heads + padded("bytes", kBytesWidth) + "  text") + "\n";
    for (const std::size_t row : map_.rows) addRow(row);
  }

  std::string rowStart(const std::string& mark, const std::string& name, const std::string& type,
                       const std::string& where, const std::string& length) const {
    return paddedLeft(mark, 4) + kIndent + padded(clipped(name, nameWidth_), nameWidth_) + kIndent +
           padded(clipped(type, typeWidth_), typeWidth_) + kIndent + paddedLeft(where, 6) + kIndent +
           paddedLeft(length, 6) + kIndent;
  }

  void addRow(std::size_t index) {
    const RecordPart& part = map_.parts[index];
    const std::string start = rowStart(part.mark, part.name, part.type, part.where, lengthOf(part));
    const std::size_t textWidth = std::max(kWidth - std::min(kWidth, countCharacters(start) + kBytesWidth + 2), kLeastTextWidth);
    const std::string text = clipped(part.text, textWidth);
    const std::string bytes = part.kind == PartKind::kEntry ? "" : hexStart(map_, part.bytes, kValueBytes);
    out_ += painted(colourOf(index), start + (text.empty() ? bytes : padded(bytes, kBytesWidth) + kIndent + text)) + "\n";
    addFaults(index, 6);
  }

  static std::string lengthOf(const RecordPart& part) {
    return part.bytes.empty() || part.kind == PartKind::kEntry ? "" : strprintf("%zu", part.bytes.size());
  }

  const RecordMap& map_;
  Colour colour_;
  std::string out_;
  std::size_t nameWidth_ = 6;
  std::size_t typeWidth_ = 4;
};

}  // namespace

std::string recordText(const RecordMap& map, std::uint64_t number, std::uint64_t position, Colour colour) {
  return RecordWriter(map, colour).text(number, position);
}

}  // namespace kyv_internal
