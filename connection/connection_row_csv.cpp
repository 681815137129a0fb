#include "kyv/connection_row_csv.h"

#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

#include "connection/csv_line.h"
#include "connection/operation_code.h"
#include "connection/prepared_settings.h"
#include "kyv/string_utility.h"
#include "row2/row_builder.h"

namespace {

using DALVON::Kyv::strprintf;

// The line from a position on, which `writable` points at too unless it is null.
struct Rest {
  std::string_view text;
  char* writable;

  Rest from(std::size_t position) const {
    return {text.substr(position), writable != nullptr ? writable + position : nullptr};
  }
};

bool checkFieldCount(const ConnectionRowType& schema, std::size_t count, std::size_t columns, unsigned long recordNo,
                     ConnectionErrors& errors) {
  const int have = static_cast<int>(count);
  const int need = static_cast<int>(columns);
  if (have < need) {
    errors.addGeneral(strprintf("record %lu: not enough fields for stream '%s', only %d, need %d", recordNo,
                                schema.getStreamName(), have, need));
  } else if (have > need) {
    errors.addGeneral(
        strprintf("record %lu: too many fields for stream '%s', need only %d", recordNo, schema.getStreamName(), need));
  }
  return have == need;
}

}  // namespace

ConnectionRowCsv::ConnectionRowCsv() = default;

ConnectionRowCsv::~ConnectionRowCsv() { std::free(buffer_); }

void ConnectionRowCsv::clear() {
  ConnectionRowCsv::clearData();
  ConnectionRow::clear();
}

void ConnectionRowCsv::clearData() {
  if (capacity_ > 0) buffer_[0] = 0;
  ConnectionRow::clearData();
}

ConnectionRow* ConnectionRowCsv::createNew() {
  auto row = std::make_unique<ConnectionRowCsv>();
  row->copyCommonFrom(this);
  row->separator_ = separator_;
  row->withService_ = withService_;
  return row.release();
}

void ConnectionRowCsv::setSeparator(char separator) { separator_ = separator; }
void ConnectionRowCsv::setWithService(bool withService) { withService_ = withService; }

char* ConnectionRowCsv::allocBuffer(int size) {
  if (capacity_ >= size) return buffer_;
  char* const memory = static_cast<char*>(std::malloc(static_cast<std::size_t>(size)));
  if (memory == nullptr) throw std::bad_alloc();
  memory[0] = 0;
  std::free(buffer_);
  buffer_ = memory;
  capacity_ = size;
  return buffer_;
}

void ConnectionRowCsv::setBuffer(char* line) {
  if (line == nullptr) {
    std::free(buffer_);
    buffer_ = nullptr;
    capacity_ = 0;
    return;
  }
  const std::size_t size = std::strlen(line) + 1;
  if (size > static_cast<std::size_t>(std::numeric_limits<int>::max())) throw std::bad_alloc();
  std::memmove(allocBuffer(static_cast<int>(size)), line, size);  // the line may lie in the buffer
}

std::optional<kyv_internal::RowSource> ConnectionRowCsv::source(std::string_view line, char* writable,
                                                                unsigned long recordNo, ConnectionErrors& errors) {
  Rest rest{line, writable};
  if (withService_) {
    const std::size_t end = line.find(separator_);
    if (end == std::string_view::npos) {
      errors.addGeneral(strprintf("record %lu: contains no stream name", recordNo));
      return std::nullopt;
    }
    if (writable != nullptr) writable[end] = 0;
    rest = rest.from(end + 1);
  }
  if (streamType_ == nullptr) {
    errors.addGeneral(strprintf("record %lu: no stream specified", recordNo));
    return std::nullopt;
  }
  const std::span<const kyv_internal::ColumnType> columns = prepared_->schema.columns();
  auto operation = StreamInterface::Upsert;
  bool hasFields = true;
  if (withService_) {
    const char letter = rest.text.empty() ? '\0' : rest.text.front();
    if (!kyv_internal::parseOperation(operation, letter, recordNo, errors)) return std::nullopt;
    const std::size_t end = rest.text.find(separator_);
    hasFields = end != std::string_view::npos;
    if (hasFields) rest = rest.from(end + 1);
  }
  fields_.resize(columns.size());
  const std::size_t count = hasFields ? kyv_internal::splitFields(rest.text, rest.writable, separator_, fields_) : 0;
  if (!checkFieldCount(*streamType_, count, columns.size(), recordNo, errors)) return std::nullopt;
  return kyv_internal::RowSource{*streamType_, prepared_->formats, columns, fields_, operation, false, recordNo};
}

void* ConnectionRowCsv::toRow(ConnectionCallback*, unsigned long recordNo, ConnectionErrors& errors) {
  failedColumn_ = kyv_internal::kNoColumn;
  if (capacity_ == 0) return nullptr;
  const std::size_t length = strnlen(buffer_, static_cast<std::size_t>(capacity_));
  const std::string_view line = kyv_internal::withoutLineEnd({buffer_, length});
  if (line.size() < length) buffer_[line.size()] = 0;
  const auto row = source(line, buffer_, recordNo, errors);
  return row ? kyv_internal::buildRecord(*row, errors, failedColumn_) : nullptr;
}

void* ConnectionRowCsv::toRow(unsigned long recordNo, ConnectionErrors* errors) {
  return toRow(nullptr, recordNo, *errors);
}

bool ConnectionRowCsv::appendRow(std::string_view line, unsigned long recordNo, ConnectionErrors& errors,
                                 kyv::ByteBuffer& out) {
  failedColumn_ = kyv_internal::kNoColumn;
  const auto row = source(kyv_internal::withoutLineEnd(line), nullptr, recordNo, errors);
  return row && kyv_internal::appendRecord(*row, errors, failedColumn_, out);
}
