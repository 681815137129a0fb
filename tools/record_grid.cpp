#include "record_grid.h"

#include <algorithm>

#include "kyv/string_utility.h"

namespace kyv_internal {
namespace {

constexpr std::size_t kHeadLines = 6;  // of a long segment, then its middle is left out,
constexpr std::size_t kTailLines = 2;  // and its last lines follow
constexpr std::size_t kLeastLeftOut = 2;

std::size_t lineUp(std::size_t offset) { return (offset + kGridBytes - 1) / kGridBytes * kGridBytes; }
std::size_t lineDown(std::size_t offset) { return offset / kGridBytes * kGridBytes; }

// Whole lines within a segment that are not shown.
ByteRange leftOutOf(const Segment& segment) {
  const std::size_t begin = lineUp(segment.bytes.begin) + kHeadLines * kGridBytes;
  const std::size_t wholeEnd = lineDown(segment.bytes.end);
  const std::size_t end = wholeEnd - std::min(wholeEnd, kTailLines * kGridBytes);
  return end >= begin + kLeastLeftOut * kGridBytes ? ByteRange{begin, end} : ByteRange{};
}

class GridBuilder {
 public:
  void addSegment(std::size_t index, const Segment& segment) {
    const ByteRange leftOut = leftOutOf(segment);
    if (leftOut.empty()) return addRuns(index, segment.bytes);
    addRuns(index, {segment.bytes.begin, leftOut.begin});
    lines_.push_back({leftOut.begin, leftOut.size(), {}});
    addRuns(index, {leftOut.end, segment.bytes.end});
  }

  std::vector<GridLine> take() { return std::move(lines_); }

 private:
  void addRuns(std::size_t index, ByteRange bytes) {
    for (std::size_t begin = bytes.begin; begin < bytes.end;) {
      const std::size_t line = lineDown(begin);
      const std::size_t end = std::min(bytes.end, line + kGridBytes);
      if (lines_.empty() || lines_.back().offset != line) lines_.push_back({line, 0, {}});
      lines_.back().runs.push_back({{begin, end}, index});
      begin = end;
    }
  }

  std::vector<GridLine> lines_;
};

void appendHex(char byte, std::string& out) {
  constexpr char kDigits[] = "0123456789abcdef";
  const auto bits = static_cast<unsigned char>(byte);
  out += kDigits[bits >> 4U];
  out += kDigits[bits & 0xFU];
}

}  // namespace

std::vector<GridLine> gridOf(const RecordMap& map) {
  GridBuilder grid;
  for (std::size_t i = 0; i < map.segments.size(); ++i) grid.addSegment(i, map.segments[i]);
  return grid.take();
}

std::string offsetLabel(const RecordMap& map, std::size_t offset) {
  constexpr std::size_t kLeastWidth = 4;
  const std::string widest = DALVON::Kyv::strprintf("%zx", map.bytes.size());
  return DALVON::Kyv::strprintf("%0*zx", static_cast<int>(std::max(kLeastWidth, widest.size())), offset);
}

std::size_t spacesBefore(std::size_t offset) {
  if (offset % kGridBytes == 0) return 0;
  return offset % kGridGroup == 0 ? 2 : 1;
}

std::string hexRun(const RecordMap& map, ByteRange bytes) {
  std::string text;
  for (std::size_t i = bytes.begin; i < bytes.end; ++i) {
    if (i > bytes.begin) text.append(spacesBefore(i), ' ');
    appendHex(map.bytes[i], text);
  }
  return text;
}

std::string charactersRun(const RecordMap& map, ByteRange bytes) {
  std::string text(map.bytes.substr(bytes.begin, bytes.size()));
  std::replace_if(
      text.begin(), text.end(), [](char byte) { return byte < ' ' || byte > '~'; }, '.');
  return text;
}

std::string hexStart(const RecordMap& map, ByteRange bytes, std::size_t most) {
  std::string text;
  for (std::size_t i = bytes.begin; i < std::min(bytes.end, bytes.begin + most); ++i) {
    if (i > bytes.begin) text += ' ';
    appendHex(map.bytes[i], text);
  }
  return bytes.size() > most ? text + " .." : text;
}

}  // namespace kyv_internal
