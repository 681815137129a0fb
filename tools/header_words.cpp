#include "header_words.h"

#include <algorithm>
#include <array>

#include "kyv/string_utility.h"
#include "printable_text.h"

namespace kyv_internal {
namespace {

using DALVON::Kyv::strprintf;

constexpr std::size_t kMostNameBytes = 120;

struct Operation {
  std::int32_t code;
  const char* text;
};

constexpr std::array kOperations = {
    Operation{StreamInterface::Insert, "insert (i)"}, Operation{StreamInterface::Update, "update (u)"},
    Operation{StreamInterface::Delete, "delete (d)"}, Operation{StreamInterface::Upsert, "upsert (p)"},
    Operation{StreamInterface::SecondDelete, "delete (d), second form"}};

HeaderWord lengthWord(const RecordWords& record) {
  const std::int32_t length = record.hostWord(kLengthOffset).value_or(0);
  HeaderWord word = {kLengthOffset, "length", strprintf("%d bytes", length), ""};
  if (length < static_cast<std::int32_t>(payloadOffset(0))) {
    word.fault = strprintf("a record has at least %zu bytes", payloadOffset(0));
  } else if (!record.lengthIsPossible()) {
    word.fault = strprintf("a record has at most %zu bytes", kMostRecordBytes);
  } else if (record.length() > record.there()) {
    word.fault = strprintf("only %zu of them are there", record.there());
  }
  return word;
}

HeaderWord operationWord(const RecordWords& record) {
  const std::int32_t code = record.hostWord(kOpcodeOffset).value_or(0);
  const auto* const known =
      std::find_if(kOperations.begin(), kOperations.end(), [code](const Operation& row) { return row.code == code; });
  if (known != kOperations.end()) {
    return {kOpcodeOffset, "operation", strprintf("%d, %s", code, known->text), ""};
  }
  return {kOpcodeOffset, "operation", strprintf("%d", code), "no operation has this number"};
}

HeaderWord streamWord(const RecordWords& record, const kyv::StreamSchema& schema) {
  const std::int32_t id = record.word(kStreamIdOffset).value_or(0);
  const std::string text =
      id == schema.getStreamId()
          ? strprintf("%d, \"%s\"", id, escapedClipped(schema.getStreamName(), kMostNameBytes).c_str())
          : strprintf("%d (the schema's is %d)", id, schema.getStreamId());
  return {kStreamIdOffset, "stream", text, ""};
}

std::string flagsText(std::uint32_t flags) {
  std::string text = strprintf("0x%08X, ", flags);
  text += (flags & kBigEndianFlag) != 0 ? "big-endian" : "little-endian";
  if ((flags & kShineThroughFlag) != 0) text += ", shine through";
  for (const unsigned int slot : optionSlots(flags)) text += ", " + optionName(slot);
  const std::uint32_t unknown = flags & ~(kBigEndianFlag | kShineThroughFlag | kOptionFlags);
  return unknown == 0 ? text : text + strprintf(", unknown bits 0x%X", unknown);
}

HeaderWord flagsWord(const RecordWords& record) {
  HeaderWord word = {kFlagsOffset, "flags", flagsText(record.flags()), ""};
  const std::size_t named = optionSlots(record.flags()).size();
  if (record.isThere(kCountsOffset) && named != record.options()) {
    word.fault = strprintf("they name %s, the record has %zu", counted(named, "option").c_str(), record.options());
  }
  return word;
}

HeaderWord countsWord(const RecordWords& record, const kyv::StreamSchema& schema) {
  const auto wanted = static_cast<std::size_t>(schema.getColumnCount());
  HeaderWord word = {kCountsOffset, "counts",
                     counted(record.columns(), "column") + ", " + counted(record.options(), "option"), ""};
  if (!record.tableFits()) {
    word.fault =
        strprintf("their offset table would end at 0x%zX, the record ends at 0x%zX", record.payload(), record.length());
  } else if (record.columns() != wanted) {
    word.fault = "the schema has " + counted(wanted, "column");
  }
  return word;
}

}  // namespace

std::vector<unsigned int> optionSlots(std::uint32_t flags) {
  std::vector<unsigned int> slots;
  for (unsigned int slot = 0; slot < kOptionSlots; ++slot) {
    if ((flags & kFirstOptionFlag << slot) != 0) slots.push_back(slot);
  }
  return slots;
}

std::string optionName(unsigned int slot) {
  return slot == kLatencySlot ? "INSTRUMENT_LATENCY" : strprintf("option slot %u", slot);
}

std::vector<HeaderWord> describeHeader(const RecordWords& record, const kyv::StreamSchema& schema) {
  std::vector<HeaderWord> words = {lengthWord(record), operationWord(record), streamWord(record, schema),
                                   flagsWord(record), countsWord(record, schema)};
  for (HeaderWord& word : words) {
    const bool isLength = word.offset == kLengthOffset;
    if (!isLength && !record.lengthIsPossible()) word.fault.clear();  // of no record
    if (record.isThere(word.offset)) continue;
    word.text = "not there";
    word.fault = word.offset < record.there() ? "the file ends within it" : "the file ends before it";
  }
  return words;
}

}  // namespace kyv_internal
