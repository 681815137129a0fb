#include "row2/row_builder.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <string>

#include "datatypes/type_catalogue.h"
#include "datatypes/value_codec.h"
#include "kyv/string_utility.h"
#include "row2/row2_layout.h"
#include "services/malloc_ptr.h"

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

void writeHeader(unsigned char* record, std::size_t size, const RowSource& source) {
  const std::uint32_t shine = source.shineThrough ? kShineThroughFlag : 0;
  store(record + kLengthOffset, static_cast<std::int32_t>(size));
  store(record + kOpcodeOffset, static_cast<std::int32_t>(source.operation));
  store(record + kStreamIdOffset, static_cast<std::int32_t>(source.schema.getStreamId()));
  store(record + kFlagsOffset, kHostByteOrderFlag | shine);
  store(record + kCountsOffset, static_cast<std::uint32_t>(source.columns.size()) & kColumnCountMask);
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

// Any record, or its message.
bool writeRecord(unsigned char* record, std::size_t size, const RowSource& source, ConnectionErrors& errors,
                 int& failedColumn) {
  writeHeader(record, size, source);
  const PackedFields packed = packFields(source.columns, source.fields, source.formats.set(), record);
  if (packed.error == nullptr) return true;
  failedColumn = static_cast<int>(packed.column);
  reportColumn(source, packed.column, packed.error, errors);
  return false;
}

MallocPtr<unsigned char> allocate(std::size_t size) {
  MallocPtr<unsigned char> memory(static_cast<unsigned char*>(std::malloc(size)));
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

// The usual record is packed where it stays, in memory for the most that it can take. That is little more than it does
// take, and saves a look at every field beforehand. Bigger ones are sized first.
constexpr std::size_t kUsualRoom = 2048;

// Bytes for the record and its slack; 0 when it may be bigger than the usual one.
std::size_t usualRoom(const RowSource& source) {
  const std::size_t columns = source.columns.size();
  if (columns > kUsualRoom || source.textBytes > kUsualRoom) return 0;
  const std::size_t room = payloadOffset(columns) + source.ownBytes + source.textBytes + kTextSlack;
  return room <= kUsualRoom ? room : 0;
}

unsigned char* asBytes(char* memory) { return static_cast<unsigned char*>(static_cast<void*>(memory)); }

// `pack` writes the columns and returns the record's size, or 0 when it cannot. Null then, and when the record may be
// too big.
template <class Pack>
void* buildUsual(const RowSource& source, const Pack& pack) {
  const std::size_t room = usualRoom(source);
  if (room == 0) return nullptr;
  auto record = allocate(room);
  const std::size_t size = pack(record.get());
  if (size == 0) return nullptr;
  writeHeader(record.get(), size, source);
  return record.release();
}

// The same behind what `out` holds.
template <class Pack>
bool appendUsual(const RowSource& source, const Pack& pack, kyv::ByteBuffer& out) {
  const std::size_t room = usualRoom(source);
  if (room == 0) return false;
  unsigned char* const record = asBytes(out.prepare(room));
  const std::size_t size = pack(record);
  if (size == 0) return false;
  writeHeader(record, size, source);
  out.commit(size);
  return true;
}

auto fieldPacker(const RowSource& source) {
  return [&source](unsigned char* record) {
    const PackedFields packed = packFields(source.columns, source.fields, source.formats.set(), record);
    return packed.error == nullptr ? packed.bytes : 0;
  };
}

auto linePacker(const RowSource& source, std::span<const char> line, char separator) {
  return [&source, line, separator](unsigned char* record) {
    return packLine(source.columns, line, separator, source.formats.set(), record);
  };
}

}  // namespace

void* buildRecord(const RowSource& source, ConnectionErrors& errors, int& failedColumn) {
  failedColumn = kNoColumn;
  if (void* const record = buildUsual(source, fieldPacker(source))) return record;
  const std::size_t size = checkedSize(source, errors);
  if (size == 0) return nullptr;
  auto record = allocate(size + kTextSlack);
  return writeRecord(record.get(), size, source, errors, failedColumn) ? record.release() : nullptr;
}

void* buildUsualRecord(const RowSource& source, std::span<const char> line, char separator) {
  return buildUsual(source, linePacker(source, line, separator));
}

bool appendRecord(const RowSource& source, ConnectionErrors& errors, int& failedColumn, kyv::ByteBuffer& out) {
  failedColumn = kNoColumn;
  if (appendUsual(source, fieldPacker(source), out)) return true;
  const std::size_t size = checkedSize(source, errors);
  if (size == 0 || !writeRecord(asBytes(out.prepare(size + kTextSlack)), size, source, errors, failedColumn))
    return false;
  out.commit(size);
  return true;
}

bool appendUsualRecord(const RowSource& source, std::span<const char> line, char separator, kyv::ByteBuffer& out) {
  return appendUsual(source, linePacker(source, line, separator), out);
}

}  // namespace kyv_internal
