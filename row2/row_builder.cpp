#include "row2/row_builder.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <string>

#include "datatypes/type_catalogue.h"
#include "datatypes/value_codec.h"
#include "kyv/string_utility.h"
#include "row2/line_pieces.h"
#include "row2/row2_layout.h"

namespace kyv_internal {

namespace {

using DALVON::Kyv::strprintf;

constexpr std::size_t kMostBytes = std::numeric_limits<std::int32_t>::max();

std::size_t recordSize(const RowSource& source) {
  std::size_t size = payloadOffset(source.fields.size());
  const ColumnType* column = source.columns.data();
  for (const RowField& field : source.fields) {
    const bool present = field.data != nullptr;
    size += packedSize(*column++, field.size) & -std::size_t{present};
  }
  return size;
}

RecordHead headOf(const RowSource& source) {
  const std::uint32_t shine = source.shineThrough ? kShineThroughFlag : 0;
  RecordHead head{};
  store(&head[kOpcodeOffset], static_cast<std::int32_t>(source.operation));
  store(&head[kStreamIdOffset], static_cast<std::int32_t>(source.schema.getStreamId()));
  store(&head[kFlagsOffset], kHostByteOrderFlag | shine);
  store(&head[kCountsOffset], static_cast<std::uint32_t>(source.columns.size()) & kColumnCountMask);
  return head;
}

void reportColumn(const RowSource& source, std::size_t column, const char* message, ConnectionErrors& errors) {
  const RowField& field = source.fields[column];
  errors.addGeneral(strprintf("record %lu: Error converting data '%s'->%s for Stream '%s' Column '%s': %s",
                              source.recordNo, std::string(field.text()).c_str(),
                              DataTypes::typeToStringUpper(source.columns[column].type), source.schema.getStreamName(),
                              source.schema.getColumnName(static_cast<int>(column)), message));
}

// The size of the record, or 0 with a message when its length word could not hold it.
std::size_t checkedSize(const RowSource& source, ConnectionErrors& errors) {
  const std::size_t size = recordSize(source);
  if (size <= kMostBytes && source.fields.size() <= kColumnCountMask) return size;
  errors.addGeneral(strprintf("record %lu: too long for stream '%s', %zu bytes of at most %zu", source.recordNo,
                              source.schema.getStreamName(), size, kMostBytes));
  return 0;
}

// The usual record gets memory for the most that it can take. That is little more than it does take, and saves a look
// at every field beforehand. Bigger ones are sized first.
constexpr std::size_t kUsualRoom = 2048;

// Of many lines: memory for this many bytes is asked for at once.
constexpr std::size_t kManyRecordBytes = std::size_t{1} << 16;

// Bytes for the record and its slack; 0 when it may be bigger than the usual one.
std::size_t usualRoom(const RowSource& source, std::size_t textBytes) {
  const std::size_t columns = source.columns.size();
  if (columns > kUsualRoom || textBytes > kUsualRoom) return 0;
  const std::size_t room = payloadOffset(columns) + source.ownBytes + textBytes + kTextSlack;
  return room <= kUsualRoom ? room : 0;
}

std::size_t usualRoom(const RowSource& source) { return usualRoom(source, source.textBytes); }

// The same for any record. 0 with a message when its length word could not hold its size.
std::size_t roomFor(const RowSource& source, ConnectionErrors& errors) {
  if (const std::size_t room = usualRoom(source)) return room;
  const std::size_t size = checkedSize(source, errors);
  return size != 0 ? size + kTextSlack : 0;
}

RecordMemory allocate(std::size_t size) {
  RecordMemory memory(static_cast<unsigned char*>(std::malloc(size)));
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

unsigned char* asBytes(char* memory) { return static_cast<unsigned char*>(static_cast<void*>(memory)); }

// Both write a record where it stays and return its size; 0 when something is out of the ordinary, or with a message.

std::size_t writeLine(unsigned char* record, const RowSource& source, std::span<const char> line, char separator) {
  return packLine(headOf(source), source.columns, line, separator, source.formats.set(), record);
}

std::size_t writeFields(unsigned char* record, const RowSource& source, ConnectionErrors& errors, int& failedColumn) {
  const PackedFields packed = packFields(headOf(source), source.columns, source.fields, source.formats.set(), record);
  if (packed.error == nullptr) return packed.bytes;
  failedColumn = static_cast<int>(packed.column);
  reportColumn(source, packed.column, packed.error, errors);
  return 0;
}

}  // namespace

void* buildRecord(const RowSource& source, ConnectionErrors& errors, int& failedColumn, RecordMemory memory) {
  failedColumn = kNoColumn;
  const std::size_t room = roomFor(source, errors);
  if (room == 0) return nullptr;
  if (memory == nullptr) memory = allocate(room);
  return writeFields(memory.get(), source, errors, failedColumn) != 0 ? memory.release() : nullptr;
}

void* buildUsualRecord(const RowSource& source, std::span<const char> line, char separator, RecordMemory& memory) {
  const std::size_t room = usualRoom(source);
  if (room == 0) return nullptr;
  memory = allocate(room);
  return writeLine(memory.get(), source, line, separator) != 0 ? memory.release() : nullptr;
}

bool appendRecord(const RowSource& source, ConnectionErrors& errors, int& failedColumn, kyv::ByteBuffer& out) {
  failedColumn = kNoColumn;
  const std::size_t room = roomFor(source, errors);
  const std::size_t size = room != 0 ? writeFields(asBytes(out.prepare(room)), source, errors, failedColumn) : 0;
  out.commit(size);
  return size != 0;
}

bool appendUsualRecord(const RowSource& source, std::span<const char> line, char separator, kyv::ByteBuffer& out) {
  const std::size_t room = usualRoom(source);
  if (room == 0) return false;
  const std::size_t size = writeLine(asBytes(out.prepare(room)), source, line, separator);
  out.commit(size);
  return size != 0;
}

LinesDone appendUsualRecords(const RowSource& source, std::string_view text, char separator, std::size_t mostBytes,
                             kyv::ByteBuffer& out) {
  const std::size_t room = usualRoom(source, TextPieces::kLongestLine + kSearchBlock);
  LinesDone done;
  if (room == 0 || text.size() < TextPieces::kBehindLines) return done;
  done.searched = text.size() - TextPieces::kBehindLines;
  const RecordHead head = headOf(source);
  TextPieces pieces(text, separator);
  PackedLines packed;
  do {
    const std::size_t much = std::min(mostBytes - out.size(), kManyRecordBytes) + room;
    packed = packLines(head, source.columns, pieces, source.formats.set(), room, {asBytes(out.prepare(much)), much});
    out.commit(packed.bytes);
    done.lines += packed.lines;
  } while (!packed.stopped && out.size() < mostBytes);
  done.bytes = static_cast<std::size_t>(pieces.lineBegin() - text.data());
  return done;
}

}  // namespace kyv_internal
