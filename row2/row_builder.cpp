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

// Up to here a record is first written to memory that may be too big for it, which saves sizing it beforehand.
constexpr std::size_t kSmallRoom = 2048;
constexpr std::size_t kMostBytes = std::numeric_limits<std::int32_t>::max();

std::size_t recordSize(const RowSource& source) {
  std::size_t size = payloadOffset(source.fields.size());
  for (std::size_t i = 0; i < source.fields.size(); ++i) {
    const RowField& field = source.fields[i];
    if (field.data != nullptr) size += packedSize(source.columns[i], field.text());
  }
  return size;
}

void writeHeader(unsigned char* record, std::size_t size, const RowSource& source) {
  const std::uint32_t shine = source.shineThrough ? kShineThroughFlag : 0;
  store(record + kLengthOffset, static_cast<std::int32_t>(size));
  store(record + kOpcodeOffset, static_cast<std::int32_t>(source.operation));
  store(record + kStreamIdOffset, static_cast<std::int32_t>(source.schema.getStreamId()));
  store(record + kFlagsOffset, kHostByteOrderFlag | shine);
  store(record + kCountsOffset, static_cast<std::uint32_t>(source.fields.size()) & kColumnCountMask);
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

// Enough room for the record: a quick estimate when that is small, else its size. 0 with a message as above.
std::size_t roomFor(const RowSource& source, ConnectionErrors& errors) {
  // No value takes more than its text and the bytes of the longest fixed-size type.
  std::size_t room = payloadOffset(source.fields.size()) + source.fields.size() * kDecimalSize;
  for (const RowField& field : source.fields) room += field.size;
  return room <= kSmallRoom ? room : checkedSize(source, errors);
}

// The size of the record, or 0 with a message.
std::size_t writeRecord(unsigned char* record, std::size_t room, const RowSource& source, ConnectionErrors& errors,
                        int& failedColumn) {
  const PackedFields packed = packFields(source.columns, source.fields, source.formats.set(), record, room);
  if (packed.error == nullptr) {
    writeHeader(record, packed.bytes, source);
    return packed.bytes;
  }
  failedColumn = static_cast<int>(packed.column);
  reportColumn(source, packed.column, packed.error, errors);
  return 0;
}

MallocPtr<unsigned char> allocate(std::size_t size) {
  MallocPtr<unsigned char> memory(static_cast<unsigned char*>(std::malloc(size)));
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void* buildSmall(const RowSource& source, ConnectionErrors& errors, int& failedColumn) {
  unsigned char record[kSmallRoom];
  const std::size_t size = writeRecord(record, sizeof record, source, errors, failedColumn);
  return size != 0 ? std::memcpy(allocate(size).release(), record, size) : nullptr;
}

unsigned char* asBytes(char* memory) { return static_cast<unsigned char*>(static_cast<void*>(memory)); }

}  // namespace

void* buildRecord(const RowSource& source, ConnectionErrors& errors, int& failedColumn) {
  failedColumn = kNoColumn;
  const std::size_t room = roomFor(source, errors);
  if (room == 0) return nullptr;
  if (room <= kSmallRoom) return buildSmall(source, errors, failedColumn);
  auto record = allocate(room);
  return writeRecord(record.get(), room, source, errors, failedColumn) != 0 ? record.release() : nullptr;
}

bool appendRecord(const RowSource& source, ConnectionErrors& errors, int& failedColumn, kyv::ByteBuffer& out) {
  failedColumn = kNoColumn;
  const std::size_t room = roomFor(source, errors);
  if (room == 0) return false;
  const std::size_t size = writeRecord(asBytes(out.prepare(room)), room, source, errors, failedColumn);
  out.commit(size);
  return size != 0;
}

}  // namespace kyv_internal
