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

bool isShown(const RecordWords& record, std::size_t index, std::size_t mostColumns) {
  return index < mostColumns || index >= record.columns();
}

// Backwards, because a value ends where the next one begins.
std::vector<TableEntry> shownEntries(const RecordWords& record, std::size_t mostColumns) {
  std::vector<TableEntry> entries;
  std::int32_t next = 0;
  for (std::size_t i = record.entries() + 1; i-- > 0;) {
    const std::optional<std::int32_t> offset = record.word(entryOffset(i));
    if (isShown(record, i, mostColumns)) entries.push_back({i, offset, next, ""});
    if (offset.value_or(0) > 0) next = *offset;
  }
  std::reverse(entries.begin(), entries.end());
  return entries;
}

}  // namespace

// Each entry is judged by those before it, shown or not.
OffsetTable readOffsetTable(const RecordWords& record, std::size_t mostColumns) {
  OffsetTable table;
  table.entries = shownEntries(record, mostColumns);
  table.hiddenColumns = record.columns() - std::min(record.columns(), mostColumns);
  std::int32_t last = 0;
  auto shown = table.entries.begin();
  for (std::size_t i = 0; i <= record.entries(); ++i) {
    const Verdict verdict = judge(record, i, last);
    const std::int32_t offset = record.word(entryOffset(i)).value_or(0);
    if (shown->index == i) {
      shown->fault = faultText(record, verdict, offset, last);
      ++shown;
    } else if (verdict != Verdict::kSound) {
      ++table.hiddenFaults;
    }
    if (verdict == Verdict::kSound && offset > 0) last = offset;
  }
  return table;
}

}  // namespace kyv_internal
