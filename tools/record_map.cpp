#include "record_map.h"

#include <algorithm>
#include <optional>
#include <span>
#include <utility>

#include "byte_segments.h"
#include "header_words.h"
#include "kyv/data_types.h"
#include "kyv/row2.h"
#include "kyv/string_utility.h"
#include "offset_table.h"
#include "printable_text.h"
#include "record_words.h"

namespace kyv_internal {
namespace {

using DALVON::Kyv::strprintf;

constexpr std::size_t kMostNameBytes = 120;
constexpr std::size_t kMostLatencyWords = 16;
constexpr auto kLatencyWord = static_cast<std::size_t>(kLatencyWordSize);

// Names columns and options by their places in the offset table.
class EntryNames {
 public:
  EntryNames(const RecordWords& record, const kyv::StreamSchema& schema)
      : record_(record), schema_(schema), slots_(optionSlots(record.flags())) {}

  bool isColumn(std::size_t index) const { return index < record_.columns(); }
  bool isEnd(std::size_t index) const { return index == record_.entries(); }
  bool isLatency(std::size_t index) const { return !isColumn(index) && slotOf(index) == kLatencySlot; }

  std::string mark(std::size_t index) const {
    if (isEnd(index)) return "end";
    if (isColumn(index)) return std::to_string(index + 1);
    const std::optional<unsigned int> slot = slotOf(index);
    return slot ? strprintf("o%u", *slot) : "o?";
  }

  std::string name(std::size_t index) const {
    if (isEnd(index)) return "end of data";
    if (!isColumn(index)) {
      const std::optional<unsigned int> slot = slotOf(index);
      return slot ? optionName(*slot) : "option of no slot";
    }
    if (!inSchema(index)) return strprintf("column %zu", index + 1);
    return escapedClipped(schema_.getColumnName(static_cast<int>(index)), kMostNameBytes);
  }

  std::string type(std::size_t index) const {
    if (!isColumn(index)) return "option";
    return inSchema(index) ? DataTypes::typeToString(schema_.getColumnType(static_cast<int>(index))) : "?";
  }

 private:
  bool inSchema(std::size_t index) const { return index < static_cast<std::size_t>(schema_.getColumnCount()); }

  // Nothing when the flags name fewer options than the record has.
  std::optional<unsigned int> slotOf(std::size_t index) const {
    const std::size_t option = index - record_.columns();
    return option < slots_.size() ? std::optional(slots_[option]) : std::nullopt;
  }

  const RecordWords& record_;
  const kyv::StreamSchema& schema_;
  std::vector<unsigned int> slots_;
};

std::string latencyFault(std::size_t size) {
  const auto bytes = static_cast<std::int64_t>(size);
  if (bytes % kLatencyWordSize == 0 && bytes >= kLeastLatencySize) return "";
  return strprintf("it has %d bytes; it takes a multiple of %d, at least %d", static_cast<int>(bytes),
                   static_cast<int>(kLatencyWordSize), static_cast<int>(kLeastLatencySize));
}

// An option's content; the library carries all but one without looking inside.
DecodedValue decodeOption(const RecordWords& record, ByteRange bytes, bool isLatency) {
  if (!isLatency) return {"not interpreted", bytes.size(), "", true};
  std::string text;
  const std::size_t words = bytes.size() / kLatencyWord;
  for (std::size_t i = 0; i < std::min(words, kMostLatencyWords); ++i) {
    const auto word = static_cast<std::uint32_t>(record.word(bytes.begin + i * kLatencyWord).value_or(0));
    text += (i == 0 ? "" : " ") + std::to_string(word);
  }
  if (words > kMostLatencyWords) text += " ...";
  return {text, bytes.size(), latencyFault(bytes.size()), true};
}

class RecordMapper {
 public:
  RecordMapper(std::string_view bytes, ValueDecoder& values, std::size_t mostColumns)
      : record_(bytes), values_(values), names_(record_, values.schema()), mostColumns_(mostColumns) {
    map_.bytes = bytes;
  }

  RecordMap map() {
    for (const HeaderWord& word : describeHeader(record_, values_.schema())) addHeaderWord(word);
    if (record_.tableFits()) addTable();
    addAbsentColumns();
    addSegments();
    if (map_.faults().empty()) addLibraryFault();
    return std::move(map_);
  }

 private:
  std::size_t wantedColumns() const { return static_cast<std::size_t>(values_.schema().getColumnCount()); }

  // Adds a part that claims its bytes.
  std::size_t add(RecordPart part) {
    part.tie = map_.parts.size();
    claims_.push_back({part.tie, part.bytes});
    map_.parts.push_back(std::move(part));
    return map_.parts.back().tie;
  }

  ByteRange clipped(std::size_t begin, std::size_t end) const {
    return {std::min(begin, record_.there()), std::min(end, record_.there())};
  }

  void addHeaderWord(const HeaderWord& word) {
    RecordPart part;
    part.state = record_.isThere(word.offset) ? PartState::kPresent : PartState::kMissing;
    part.mark = part.name = word.name;
    part.bytes = clipped(word.offset, word.offset + kEntrySize);
    part.text = word.text;
    part.fault = word.fault;
    map_.header.push_back(add(std::move(part)));
  }

  // --- The offset table ---

  // Columns that get parts of their own: not those that are only claimed.
  std::size_t shownColumns() const {
    return std::min({mostColumns_, record_.columns(), std::max(record_.roomForEntries(), wantedColumns())});
  }

  void addTable() {
    const OffsetTable table = readOffsetTable(record_, shownColumns());
    std::vector<std::size_t> parts;
    parts.reserve(table.entries.size());
    for (const TableEntry& entry : table.entries) parts.push_back(addEntry(entry));
    const auto addValues = [&](std::size_t begin, std::size_t end) {
      for (std::size_t i = begin; i < end; ++i) addValue(table.entries[i], parts[i]);
    };
    addValues(0, shownColumns());
    if (table.hiddenColumns > 0) addHidden(table);
    addValues(shownColumns(), table.entries.size() - 1);
    map_.rows.push_back(parts.back());
  }

  std::size_t addEntry(const TableEntry& entry) {
    RecordPart part;
    part.kind = PartKind::kEntry;
    part.mark = "@" + names_.mark(entry.index);
    part.name = (names_.isEnd(entry.index) ? "" : "offset of ") + names_.name(entry.index);
    part.type = "offset";
    part.bytes = clipped(entryOffset(entry.index), entryOffset(entry.index + 1));
    if (!entry.offset) part.state = PartState::kMissing;
    part.where = offsetText(entry);
    part.fault = entry.fault;
    return add(std::move(part));
  }

  static std::string offsetText(const TableEntry& entry) {
    if (!entry.offset) return "";
    return *entry.offset > 0 ? strprintf("0x%X", static_cast<unsigned int>(*entry.offset))
                             : std::to_string(*entry.offset);
  }

  static std::string hiddenFault(const OffsetTable& table) {
    if (table.hiddenMissing > 0) return strprintf("the file ends before %zu of their offsets", table.hiddenMissing);
    return table.hiddenFaults > 0 ? strprintf("%zu of their offsets make no sense", table.hiddenFaults) : "";
  }

  void addHidden(const OffsetTable& table) {
    hasHidden_ = true;
    RecordPart part;
    part.kind = PartKind::kEntry;
    part.mark = "@...";
    part.name = strprintf("columns %zu to %zu", shownColumns() + 1, record_.columns());
    part.bytes = clipped(entryOffset(shownColumns()), entryOffset(record_.columns()));
    part.text = "not shown";
    part.fault = hiddenFault(table);
    map_.rows.push_back(add(std::move(part)));
  }

  // --- Values ---

  void addValue(const TableEntry& entry, std::size_t entryPart) {
    RecordPart part;
    part.kind = names_.isColumn(entry.index) ? PartKind::kColumn : PartKind::kOption;
    part.mark = names_.mark(entry.index);
    part.name = names_.name(entry.index);
    part.type = names_.type(entry.index);
    part.where = map_.parts[entryPart].where;
    const ByteRange extent = findValue(entry, part);
    if (extent.size() > clipped(extent.begin, extent.end).size()) {
      cutOff(extent, part);
    } else if (!extent.empty()) {
      readValue(entry.index, extent, part);
    }
    const std::size_t contentEnd = part.bytes.end;
    const std::size_t added = add(std::move(part));
    map_.parts[added].tie = entryPart;
    map_.rows.push_back(added);
    if (contentEnd < extent.end) claims_.push_back({added, clipped(contentEnd, extent.end), ClaimKind::kPadding});
  }

  // Where the offset table says that a value is. Nowhere, with the reason in the part, when it has none.
  ByteRange findValue(const TableEntry& entry, RecordPart& part) const {
    if (!entry.offset) return setAbsent(part, PartState::kMissing, "not there");
    if (*entry.offset <= 0) return setEmpty(entry, part);
    const ByteRange extent = {static_cast<std::size_t>(*entry.offset),
                              static_cast<std::size_t>(std::max(entry.next, 0))};
    if (extent.begin < record_.payload() || extent.begin >= record_.length()) {
      return setAbsent(part, PartState::kUnreadable, "no value");
    }
    if (extent.begin < extent.end && extent.end <= record_.length()) return extent;
    part.fault = extent.end > extent.begin
                     ? strprintf("it would end at 0x%zX, past the record's end, 0x%zX", extent.end, record_.length())
                     : strprintf("the next offset, 0x%zX, leaves it no bytes", extent.end);
    return setAbsent(part, PartState::kUnreadable, "no value");
  }

  static ByteRange setAbsent(RecordPart& part, PartState state, const char* text) {
    part.state = state;
    part.text = text;
    return {};
  }

  ByteRange setEmpty(const TableEntry& entry, RecordPart& part) const {
    if (names_.isLatency(entry.index)) part.fault = latencyFault(0);
    if (!names_.isColumn(entry.index)) return setAbsent(part, PartState::kMissing, "no content");
    if (*entry.offset == 0) return setAbsent(part, PartState::kNull, "NULL");
    return setAbsent(part, PartState::kShineThrough, "shine through");
  }

  void cutOff(ByteRange extent, RecordPart& part) const {
    part.bytes = clipped(extent.begin, extent.end);
    part.fault =
        strprintf("the file ends before it does: %zu of its %zu bytes are there", part.bytes.size(), extent.size());
    setAbsent(part, PartState::kMissing, "cut off");
  }

  void readValue(std::size_t index, ByteRange extent, RecordPart& part) {
    const DecodedValue value = names_.isColumn(index)
                                   ? values_.decode(index, record_.clipped(extent.begin, extent.end), record_.swapped())
                                   : decodeOption(record_, extent, names_.isLatency(index));
    part.bytes = {extent.begin, extent.begin + value.used};
    part.text = value.text;
    part.fault = value.fault;
    if (!value.readable) setAbsent(part, PartState::kUnreadable, "unreadable");
  }

  // Columns that the schema has and the record has not.
  void addAbsentColumns() {
    const std::size_t present = record_.tableFits() ? record_.columns() : 0;
    for (std::size_t i = present; i < std::min(wantedColumns(), mostColumns_); ++i) {
      RecordPart part;
      part.kind = PartKind::kColumn;
      part.mark = std::to_string(i + 1);
      part.name = escapedClipped(values_.schema().getColumnName(static_cast<int>(i)), kMostNameBytes);
      part.type = DataTypes::typeToString(values_.schema().getColumnType(static_cast<int>(i)));
      setAbsent(part, PartState::kMissing, "not in the record");
      map_.rows.push_back(add(std::move(part)));
    }
  }

  // --- What lies between ---

  void addSegments() {
    for (ClaimedBytes& claimed : cutIntoSegments(claims_, record_.there())) {
      const bool isGap = claimed.segment.parts.empty();
      if (isGap || claimed.kind == ClaimKind::kPadding) {
        const std::size_t gap = isGap ? addGap() : addPadding(map_.parts[claimed.segment.parts.front()].name);
        map_.parts[gap].bytes = claimed.segment.bytes;
        map_.rows.push_back(gap);
        claimed.segment.parts = {gap};
      }
      map_.segments.push_back(std::move(claimed.segment));
    }
  }

  // Where all bytes found a place, what they hold may still be refused.
  void addLibraryFault() {
    const kyv::StreamSchema& schema = values_.schema();
    std::vector<unsigned int> types;
    types.reserve(static_cast<std::size_t>(schema.getColumnCount()));
    for (int i = 0; i < schema.getColumnCount(); ++i) types.push_back(schema.getColumnType(i));
    Row2::Fault fault;
    const auto bytes = std::as_bytes(std::span(map_.bytes));
    if (Row2::validateUntrusted(fault, bytes, schema.getColumnCount(), 0, types.data(), nullptr)) return;
    const auto found = std::find_if(map_.segments.begin(), map_.segments.end(),
                                    [&](const Segment& segment) { return segment.bytes.end > fault.position; });
    const std::size_t part = found == map_.segments.end() ? map_.header.front() : found->parts.front();
    map_.parts[part].fault = escaped(fault.message);
  }

  std::size_t addGap() {
    RecordPart part;
    part.kind = PartKind::kGap;
    part.mark = "gap";
    part.name = "gap";
    part.text = hasHidden_            ? "columns not shown, or no value"
                : record_.tableFits() ? "belongs to no value"
                                      : "cannot be told without an offset table";
    return add(std::move(part));
  }

  std::size_t addPadding(const std::string& before) {
    RecordPart part;
    part.kind = PartKind::kGap;
    part.mark = "pad";
    part.name = "padding";
    part.text = "counts as part of " + before;
    return add(std::move(part));
  }

  const RecordWords record_;
  ValueDecoder& values_;
  const EntryNames names_;
  const std::size_t mostColumns_;
  RecordMap map_;
  std::vector<Claim> claims_;
  bool hasHidden_ = false;
};

}  // namespace

std::vector<std::string> RecordMap::faultsOf(std::size_t part) const {
  std::vector<std::string> faults;
  const std::size_t tie = parts[part].tie;
  if (tie != part && !parts[tie].fault.empty()) faults.push_back(parts[tie].fault);
  if (!parts[part].fault.empty()) faults.push_back(parts[part].fault);
  return faults;
}

std::vector<std::string> RecordMap::faults() const {
  std::vector<std::string> faults;
  for (const RecordPart& part : parts) {
    if (!part.fault.empty()) faults.push_back(part.name + ": " + part.fault);
  }
  return faults;
}

RecordMap mapRecord(std::string_view bytes, ValueDecoder& values, std::size_t mostColumns) {
  return RecordMapper(bytes, values, mostColumns).map();
}

}  // namespace kyv_internal
