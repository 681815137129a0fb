#include <algorithm>
#include <array>
#include <string_view>

#include "kyv/string_utility.h"
#include "printable_text.h"
#include "record_grid.h"
#include "record_view.h"

namespace kyv_internal {
namespace {

using DALVON::Kyv::strprintf;

constexpr std::size_t kWidth = 100;
constexpr std::size_t kMostNameWidth = 22;
constexpr std::size_t kMostTypeWidth = 14;
constexpr std::size_t kValueBytes = 6;
constexpr std::size_t kBytesWidth = kValueBytes * 3 + 2;
constexpr std::size_t kLeastTextWidth = 24;
constexpr char kIndent[] = "  ";

// Escape sequences of a terminal: neighbours among values differ, red is for what is wrong.
constexpr std::array<const char*, 5> kValueColours = {"36", "33", "35", "32", "94"};
constexpr char kPlain[] = "";
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
    const bool plain = colour_ == Colour::kNone || *colour == 0 || text.empty();
    return plain ? text : "\x1B[" + std::string(colour) + "m" + text + "\x1B[0m";
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
    const std::string margin(offsetLabel(map_, 0).size() + 4, ' ');
    out_ += painted(kGapColour, margin + " 0  1  2  3   4  5  6  7   8  9  a  b   c  d  e  f") + "\n";
    for (const GridLine& line : gridOf(map_)) {
      if (line.leftOut > 0) {
        out_ += painted(kGapColour, margin + strprintf("... %zu bytes ...", line.leftOut)) + "\n";
      } else {
        addLine(line, margin);
      }
    }
  }

  void addLine(const GridLine& line, const std::string& margin) {
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
    out_ += kIndent + offsetLabel(map_, line.offset) + kIndent + hex + std::string(kGridWidth - used + 2, ' ') +
            characters + "\n";
    out_ += margin + marks + "\n";
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
    RecordPart heads;
    heads.mark = "#";
    heads.name = "column";
    heads.type = "type";
    heads.where = "offset";
    heads.text = "text";
    addColumns(heads, "length", "bytes", {kGapColour, kGapColour, kGapColour});
    for (const std::size_t row : map_.rows) addRow(row);
  }

  void addRow(std::size_t index) {
    const RecordPart& part = map_.parts[index];
    const bool isValue = part.kind != PartKind::kEntry && !part.bytes.empty();
    const std::string length = isValue ? std::to_string(part.bytes.size()) : "";
    const std::string bytes = isValue ? hexStart(map_, part.bytes, kValueBytes) : "";
    const bool hasText = part.state == PartState::kPresent && part.kind != PartKind::kGap;
    addColumns(part, length, bytes, {colourOf(index), kPlain, hasText ? kPlain : kGapColour});
    addFaults(index, 6);
  }

  struct RowColours {
    const char* name;  // and bytes
    const char* numbers;
    const char* text;
  };

  // A line of the table.
  void addColumns(const RecordPart& part, const std::string& length, const std::string& bytes, RowColours colours) {
    out_ +=
        painted(colours.name, paddedLeft(part.mark, 4) + kIndent + padded(clipped(part.name, nameWidth_), nameWidth_));
    const std::string text = clipped(part.text, textWidth());
    std::string numbers = kIndent + padded(clipped(part.type, typeWidth_), typeWidth_) + kIndent +
                          paddedLeft(part.where, 6) + kIndent + paddedLeft(length, 6) + kIndent;
    if (bytes.empty() && text.empty()) numbers.erase(numbers.find_last_not_of(' ') + 1);
    out_ += painted(colours.numbers, numbers);
    if (text.empty()) {
      out_ += painted(colours.name, bytes);
    } else {
      out_ += painted(colours.name, padded(bytes, kBytesWidth)) + kIndent + painted(colours.text, text);
    }
    out_ += "\n";
  }

  // What the columns before it leave to the text.
  std::size_t textWidth() const {
    const std::size_t others = nameWidth_ + typeWidth_ + kBytesWidth + 4 + 6 + 6 + 6 * 2;
    return std::max(kWidth - std::min(kWidth, others), kLeastTextWidth);
  }

  const RecordMap& map_;
  Colour colour_;
  std::string out_;
  std::size_t nameWidth_ = 6;
  std::size_t typeWidth_ = 4;
};

class TextView final : public RecordView {
 public:
  explicit TextView(Colour colour) : colour_(colour) {}

  std::string record(const RecordMap& map, std::uint64_t number, std::uint64_t position) const override {
    return RecordWriter(map, colour_).text(number, position) + "\n";
  }

 private:
  Colour colour_;
};

}  // namespace

std::unique_ptr<RecordView> makeTextView(Colour colour) { return std::make_unique<TextView>(colour); }

}  // namespace kyv_internal
