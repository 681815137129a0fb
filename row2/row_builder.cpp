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

// A line's record is written to memory of this size, which saves sizing it beforehand.
constexpr std::size_t kUsualRoom = 2048;

// Whether a record of the line surely fits in.
bool fitsUsualRoom(const RowSource& source, std::size_t lineSize) {
  const std::size_t columns = source.columns.size();
  return columns <= kUsualRoom && lineSize <= kUsualRoom &&
         payloadOffset(columns) + columns * kDecimalSize + lineSize + kTextSlack <= kUsualRoom;
}

// The bytes of the record, or 0.
std::size_t writeUsualRecord(const RowSource& source, std::span<const char> line, char separator,
                             unsigned char* record) {
  const std::size_t size = packLine(source.columns, line, separator, source.formats.set(), record);
  if (size != 0) writeHeader(record, size, source);
  return size;
}

unsigned char* asBytes(char* memory) { return static_cast<unsigned char*>(static_cast<void*>(memory)); }

}  // namespace

void* buildRecord(const RowSource& source, ConnectionErrors& errors, int& failedColumn) {
  failedColumn = kNoColumn;
  const std::size_t size = checkedSize(source, errors);
  if (size == 0) return nullptr;
  auto record = allocate(size + kTextSlack);
  return writeRecord(record.get(), size, source, errors, failedColumn) ? record.release() : nullptr;
}

void* buildUsualRecord(const RowSource& source, std::span<const char> line, char separator) {
  if (!fitsUsualRoom(source, line.size())) return nullptr;
  unsigned char record[kUsualRoom];
  const std::size_t size = writeUsualRecord(source, line, separator, record);
  return size != 0 ? std::memcpy(allocate(size).release(), record, size) : nullptr;
}

bool appendRecord(const RowSource& source, ConnectionErrors& errors, int& failedColumn, kyv::ByteBuffer& out) {
  failedColumn = kNoColumn;
  const std::size_t size = checkedSize(source, errors);
  if (size == 0 || !writeRecord(asBytes(out.prepare(size + kTextSlack)), size, source, errors, failedColumn))
    return false;
  out.commit(size);
  return true;
}

bool appendUsualRecord(const RowSource& source, std::span<const char> line, char separator, kyv::ByteBuffer& out) {
  if (!fitsUsualRoom(source, line.size())) return false;
  const std::size_t size = writeUsualRecord(source, line, separator, asBytes(out.prepare(kUsualRoom)));
  out.commit(size);
  return size != 0;
}

}  // namespace kyv_internal
