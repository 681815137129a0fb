#include "offset_table.h"

#include <algorithm>

#include "kyv/string_utility.h"

namespace kyv_internal {
namespace {

using DALVON::Kyv::strprintf;

enum class Verdict : std::uint8_t { kSound, kMissing, kInHeader, kFalls, kBeyond, kNoEnd };

// `last` is the last sound offset before this one, or 0.
Verdict judge(const RecordWords& record, std::size_t index, std::int32_t last) {
  const std::optional<std::int32_t> offset = record.word(entryOffset(index));
  if (!offset) return Verdict::kMissing;
  const bool isEnd = index == record.entries();
  if (*offset <= 0) return isEnd ? Verdict::kNoEnd : Verdict::kSound;
  const auto position = static_cast<std::size_t>(*offset);
  if (position > record.length() || (position == record.length() && !isEnd)) return Verdict::kBeyond;
  if (position < record.payload()) return Verdict::kInHeader;
  return *offset <= last ? Verdict::kFalls : Verdict::kSound;
}

std::string faultText(const RecordWords& record, Verdict verdict, std::int32_t offset, std::int32_t last) {
  const std::string given = strprintf("its offset, 0x%X, ", static_cast<unsigned int>(offset));
  switch (verdict) {
    case Verdict::kSound:
      return "";
    case Verdict::kMissing:
      return "the file ends before its offset";
    case Verdict::kInHeader:
      return given + strprintf("points before the values, which begin at 0x%zX", record.payload());
    case Verdict::kFalls:
      return given + strprintf("is not above the one before it, 0x%X", static_cast<unsigned int>(last));
    case Verdict::kBeyond:
      return given + strprintf("points past the record's end, 0x%zX", record.length());
    case Verdict::kNoEnd:
      return strprintf("it is %d, and must be positive", offset);
  }
  return "";
}

// Which entries are kept: all but the columns from `first` to `last`. A record that is cut off may claim millions of
// them that are not there, and those are never looked at: the ones from `missing` on.
struct HiddenColumns {
  std::size_t first;
  std::size_t missing;
  std::size_t last;

  HiddenColumns(const RecordWords& record, std::size_t mostColumns)
      : first(std::min(mostColumns, record.columns())),
        missing(std::clamp(record.roomForEntries(), first, record.columns())),
        last(record.columns()) {}

  bool holds(std::size_t index) const { return index >= first && index < last; }
};

// Backwards, because a value ends where the next one begins.
std::vector<TableEntry> keptEntries(const RecordWords& record, const HiddenColumns& hidden) {
  std::vector<TableEntry> entries;
  std::int32_t next = 0;
  for (std::size_t i = record.entries() + 1; i-- > 0;) {
    if (i + 1 == hidden.last) i = std::min(i, hidden.missing);
    const std::optional<std::int32_t> offset = record.word(entryOffset(i));
    if (!hidden.holds(i)) entries.push_back({i, offset, next, ""});
    if (offset.value_or(0) > 0) next = *offset;
  }
  std::reverse(entries.begin(), entries.end());
  return entries;
}

}  // namespace

// Each entry is judged by those before it, shown or not.
OffsetTable readOffsetTable(const RecordWords& record, std::size_t mostColumns) {
  const HiddenColumns hidden(record, mostColumns);
  OffsetTable table;
  table.entries = keptEntries(record, hidden);
  table.hiddenColumns = hidden.last - hidden.first;
  table.hiddenMissing = hidden.last - hidden.missing;
  std::int32_t last = 0;
  auto kept = table.entries.begin();
  for (std::size_t i = 0; i <= record.entries(); ++i) {
    if (i == hidden.missing) i = hidden.last;
    const Verdict verdict = judge(record, i, last);
    const std::int32_t offset = record.word(entryOffset(i)).value_or(0);
    if (!hidden.holds(i)) {
      kept++->fault = faultText(record, verdict, offset, last);
    } else if (verdict != Verdict::kSound) {
      ++table.hiddenFaults;
    }
    if (verdict == Verdict::kSound && offset > 0) last = offset;
  }
  return table;
}

}  // namespace kyv_internal
