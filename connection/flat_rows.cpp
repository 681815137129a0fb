// The flat functions over rows and schemas: each reads its handle and calls the row.

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "connection/row_handle.h"
#include "kyv/connection_row.h"
#include "kyv/connection_row_by_names.h"
#include "kyv/connection_row_by_order.h"
#include "kyv/connection_row_csv.h"
#include "kyv/flat.h"
#include "kyv/mutexes.h"
#include "kyv/stream_schema.h"
#include "services/errors_handle.h"
#include "services/handle_cell.h"

namespace {

using kyv_internal::guarded;
using kyv_internal::withErrors;

template <class Row>
std::unique_ptr<ConnectionRow> makeRow() {
  return std::make_unique<Row>();
}

struct RowKind {
  std::string_view name;
  std::unique_ptr<ConnectionRow> (*make)();
};

constexpr std::array<RowKind, 3> kRowKinds{{
    {"RowByOrder", makeRow<ConnectionRowByOrder>},
    {"RowByNames", makeRow<ConnectionRowByNames>},
    {"RowCsv", makeRow<ConnectionRowCsv>},
}};

std::unique_ptr<ConnectionRow> makeRowOfKind(std::string_view kind) {
  for (const RowKind& row : kRowKinds) {
    if (row.name == kind) return row.make();
  }
  return nullptr;
}

std::unique_ptr<ConnectionRowType> makeSchema(const char* streamName, int streamId, int count,
                                              const char* const* columnNames, const unsigned int* types) {
  std::vector<kyv::StreamColumn> columns;
  columns.reserve(static_cast<std::size_t>(std::max(count, 0)));
  for (int i = 0; i < count; ++i) columns.push_back({columnNames[i], types[i]});
  return std::make_unique<kyv::StreamSchema>(streamName, streamId, std::move(columns));
}

}  // namespace

ConnectionRowType** createConnectionRowType(const char* streamName, int streamId, int count,
                                            const char* const* columnNames, const unsigned int* types) {
  return kyv_internal::makeCell<ConnectionRowType*>(
      _objectMutex, [&] { return makeSchema(streamName, streamId, count, columnNames, types); });
}

void deleteConnectionRowType(ConnectionRowType** type) { kyv_internal::deleteCell(type); }

void releaseConnectionRowType(ConnectionRowType** type) { delete type; }

ConnectionRowHandle* createConnectionRow(const char* kind) {
  return kyv_internal::makeCell<ConnectionRowHandle>(_connectionrowobjectMutex, [&] { return makeRowOfKind(kind); });
}

void deleteConnectionRow(ConnectionRowHandle* row) { kyv_internal::deleteCell(row); }

void releaseConnectionRow(ConnectionRowHandle* row) { delete row; }

void clear(ConnectionRowHandle* row) {
  guarded([&] { row->object->clear(); });
}

void clearData(ConnectionRowHandle* row) {
  guarded([&] { row->object->clearData(); });
}

ConnectionRow* createNew(ConnectionRowHandle* row) {
  return guarded<ConnectionRow*>(nullptr, [&] { return row->object->createNew(); });
}

void setTimeFormat(ConnectionRowHandle* row, const char* format) {
  guarded([&] { row->object->setTimeFormat(format); });
}

void setDateFormat(ConnectionRowHandle* row, const char* format) {
  guarded([&] { row->object->setDateFormat(format); });
}

void setTimestampFormat(ConnectionRowHandle* row, const char* format) {
  guarded([&] { row->object->setTimestampFormat(format); });
}

void setStreamName(ConnectionRowHandle* row, const char* name) {
  guarded([&] { row->object->setStreamName(name); });
}

const char* getStreamName(ConnectionRowHandle* row) { return row->object->streamName(); }

void setStreamType(ConnectionRowHandle* row, ConnectionRowType** type, bool own) {
  if (type != nullptr) guarded([&] { row->object->setStreamType(*type, own); });
}

ConnectionRowType* getStreamType(ConnectionRowHandle* row) {
  return guarded<ConnectionRowType*>(nullptr, [&] { return row->object->getStreamType(); });
}

bool getFieldAsStringWithKey(ConnectionRowHandle* row, const char* name, const char** out) {
  return guarded(false, [&] { return row->object->getFieldAsString(name, out); });
}

bool setFieldAsStringWithKey(ConnectionRowHandle* row, const char* name, const char* value) {
  return guarded(false, [&] { return row->object->setFieldAsString(name, value); });
}

bool getFieldAsStringWithIndex(ConnectionRowHandle* row, int index, const char** out) {
  return guarded(false, [&] { return row->object->getFieldAsString(index, out); });
}

bool setFieldAsStringWithIndex(ConnectionRowHandle* row, int index, const char* value) {
  return guarded(false, [&] { return row->object->setFieldAsString(index, value); });
}

bool appendFieldAsString(ConnectionRowHandle* row, const char* value) {
  return guarded(false, [&] { return row->object->appendFieldAsString(value); });
}

char getOp(ConnectionRowHandle* row) {
  return guarded('\0', [&] { return row->object->getOp(); });
}

void setOp(ConnectionRowHandle* row, char letter) {
  guarded([&] { row->object->setOp(letter); });
}

const char* getFlagsAsString(ConnectionRowHandle* row) {
  return guarded<const char*>(nullptr, [&] { return row->object->getFlagsAsString(); });
}

void setFlagsAsString(ConnectionRowHandle* row, const char* flags) {
  guarded([&] { row->object->setFlagsAsString(flags); });
}

int size(ConnectionRowHandle* row) {
  return guarded(0, [&] { return row->object->size(); });
}

void setSeparator(ConnectionRowHandle* row, char separator) {
  guarded([&] { row->object->setSeparator(separator); });
}

void setWithService(ConnectionRowHandle* row, bool withService) {
  guarded([&] { row->object->setWithService(withService); });
}

char* allocBuffer(ConnectionRowHandle* row, int size) {
  return guarded<char*>(nullptr, [&] { return row->object->allocBuffer(size); });
}

void setBuffer(ConnectionRowHandle* row, char* line) {
  guarded([&] { row->object->setBuffer(line); });
}

void setRow(ConnectionRowHandle* row, void* record, int size) {
  guarded([&] { row->object->setRow(record, size); });
}

void* allocRow(ConnectionRowHandle* row, int size) {
  return guarded<void*>(nullptr, [&] { return row->object->allocRow(size); });
}

void adoptRow(ConnectionRowHandle* row, void* record) {
  guarded([&] { row->object->adoptRow(record); });
}

bool validate(ConnectionRowHandle* row, ConnectionErrorsHandle* errors) {
  return withErrors(errors, false, [&](ConnectionErrors& held) { return row->object->validate(&held); });
}

void* getRow(ConnectionRowHandle* row) {
  return guarded<void*>(nullptr, [&] { return row->object->getRow(); });
}

int getRowSize(ConnectionRowHandle* row) {
  return guarded(0, [&] { return row->object->getRowSize(); });
}

void* toRow(ConnectionRowHandle* row, unsigned long recordNo, ConnectionErrorsHandle* errors) {
  return withErrors<void*>(errors, nullptr,
                           [&](ConnectionErrors& held) { return row->object->toRow(recordNo, &held); });
}

bool fromRow(ConnectionRowHandle* row, void* record, unsigned long recordNo, ConnectionErrorsHandle* errors) {
  return withErrors(errors, false,
                    [&](ConnectionErrors& held) { return row->object->fromRow(record, recordNo, &held); });
}

void enableGDMode(ConnectionRowHandle* row) {
  guarded([&] { row->object->enableGDMode(); });
}

void setGDKeyColumnName(ConnectionRowHandle* row, const char* name) {
  guarded([&] { row->object->setSequenceNumberColumnName(name); });
}

void setOpcodeColumnName(ConnectionRowHandle* row, const char* name) {
  guarded([&] { row->object->setOpcodeColumnName(name); });
}

long long getGDKey(ConnectionRowHandle* row) {
  return guarded(0LL, [&] { return row->object->getSequenceNumber(); });
}
