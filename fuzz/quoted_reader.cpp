// Any text as quoted fields. Cut into blocks of whole records, in whatever pieces it arrives, a text gives the records
// that it gives as a whole; every byte belongs to one record, and every field lies in it.
//
// Input: the separator, how many bytes come at a time (three characters, by turns), whether a record may be long ('0')
// or not ('1'); then the text.

#include "quoted_reader.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "block_reader.h"
#include "framing.h"
#include "fuzz/fuzz_input.h"
#include "tests/support/piece_source.h"
#include "text_layout.h"

namespace {

using kyv_fuzz::require;
using kyv_internal::BlockKind;
using kyv_internal::QuotedFault;
using kyv_internal::QuotedReader;

constexpr std::size_t kLongRecord = std::size_t{1} << 20;
constexpr std::size_t kShortRecord = 16;

struct Case {
  char separator;
  std::vector<std::size_t> pieces;
  std::size_t mostRecordBytes;
  std::string_view text;
};

struct Record {
  std::vector<std::string> fields;
  std::size_t size;
  QuotedFault fault;
  std::size_t faultyField;

  bool operator==(const Record&) const = default;
};

void checkField(const kyv_internal::QuotedField& field, std::string_view record, std::size_t behindLast) {
  require(field.begin >= behindLast && field.begin <= field.end && field.end <= record.size(), "fields lie in order");
  const std::string_view source = record.substr(field.begin, field.end - field.begin);
  require(field.quoted == source.starts_with('"'), "a field is quoted when it begins with a quote");
  require(field.quoted ? field.text.size() < source.size() : field.text == source, "a bare field is what stands there");
}

Record readRecord(QuotedReader& reader, std::string_view text) {
  const std::vector<char> exactly(text.begin(), text.end());
  const kyv_internal::QuotedRecord read = reader.read({exactly.data(), exactly.size()});
  require(read.size > 0 && read.size <= text.size(), "a record takes some of the text");
  const std::string_view record = text.substr(0, read.size);
  require(read.lineFeeds == static_cast<std::size_t>(std::count(record.begin(), record.end(), '\n')),
          "a record knows its lines");
  require(!reader.fields().empty(), "a record has a field");
  Record result{{}, read.size, read.fault, read.faultyField};
  std::size_t behindLast = 0;
  for (const kyv_internal::QuotedField& field : reader.fields()) {
    checkField(field, record, behindLast);
    behindLast = field.end;
    result.fields.emplace_back(field.text);
  }
  return result;
}

void readRecords(char separator, std::string_view text, std::vector<Record>& records) {
  QuotedReader reader(separator);
  while (!text.empty()) {
    records.push_back(readRecord(reader, text));
    text.remove_prefix(records.back().size);
  }
}

std::vector<Record> readBlocks(const Case& test) {
  std::vector<Record> records;
  kyv_test::PieceSource source(std::string(test.text), test.pieces);
  kyv_internal::QuotedFraming framing(test.separator);
  kyv_internal::BlockReader reader(source, framing, test.mostRecordBytes);
  kyv_internal::Block block;
  std::string_view rest = test.text;
  while (reader.next(block)) {
    require(!block.text().empty() && rest.starts_with(block.text()), "blocks follow each other");
    require(block.offset == test.text.size() - rest.size(), "a block knows where it was");
    require(
        block.kind == BlockKind::kRecords || test.mostRecordBytes == kShortRecord || block.text().size() == rest.size(),
        "a block holds whole records, but for the last");
    rest.remove_prefix(block.text().size());
    readRecords(test.separator, block.text(), records);
  }
  require(rest.empty() && !reader.failed(), "all of the text is in blocks");
  return records;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kMostPiece = 40;
  kyv_fuzz::FuzzInput input(data, size);
  const char separator = input.character();
  std::vector<std::size_t> pieces(3);
  for (std::size_t& piece : pieces) piece = 1 + input.choice(kMostPiece);
  const std::size_t mostRecordBytes = input.choice(2) == 0 ? kLongRecord : kShortRecord;
  if (kyv_internal::refuseSeparator({&separator, 1}) != nullptr) return 0;
  const Case test{separator, pieces, mostRecordBytes, input.bytes()};
  const std::vector<Record> inBlocks = readBlocks(test);
  if (mostRecordBytes == kShortRecord) return 0;  // long records come in parts
  std::vector<Record> whole;
  readRecords(separator, test.text, whole);
  require(inBlocks == whole, "records do not depend on how the text arrives");
  return 0;
}
