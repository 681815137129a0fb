#include "kyv/connection_row_by_order.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <span>

#include "connection/field_list.h"
#include "connection/operation_code.h"
#include "connection/prepared_settings.h"
#include "datatypes/hex_text.h"
#include "datatypes/value_codec.h"
#include "kyv/string_utility.h"
#include "row2/row_builder.h"
#include "row2/row_reader.h"

namespace {

using DALVON::Kyv::strprintf;
using kyv_internal::FieldList;
using kyv_internal::FormatSet;
using kyv_internal::Kind;
using kyv_internal::StoredColumn;

constexpr char kDefaultOperation = 'p';
constexpr char kShineText[] = "s";

// Adds the bytes of a text and its terminator. In a row whose data are never cleared the sum passes its range and
// wraps.
void countText(int& sum, std::size_t length) {
  sum = static_cast<int>(static_cast<unsigned int>(sum) + static_cast<unsigned int>(length) + 1);
}

bool assignHex(std::span<const unsigned char> bytes, FieldList& fields, std::size_t index) {
  char* const text = fields.prepare(index, 2 * bytes.size());
  if (text != nullptr) kyv_internal::printHex(bytes, text);
  return text != nullptr;
}

// Makes a value's text a field; false when memory is exhausted.
bool assignValue(const StoredColumn& column, const FormatSet& formats, FieldList& fields, std::size_t index) {
  const Kind kind = column.kind();
  if (kind == Kind::String) return fields.assign(index, kyv_internal::packedString(column.value));
  if (kind == Kind::Binary) return assignHex(kyv_internal::packedBytes(column.value), fields, index);
  const auto print = [&](char* out) {
    const char* const end =
        kyv_internal::printValue(column.column, column.value.data(), formats, kyv_internal::TextStyle::Row, out);
    return static_cast<std::size_t>(end - out);
  };
  if (char* const room = fields.blockRoom(kyv_internal::kMaxValueText + 1)) {
    fields.takeFromBlock(index, print(room));
    return true;
  }
  char text[kyv_internal::kMaxValueText];
  return fields.assign(index, {text, print(text)});
}

// The part of a conversion message that says which column of which stream it is about.
std::string aboutColumn(const ConnectionRowType& schema, int column, const StoredColumn& stored) {
  return strprintf("Error converting %s data for Stream '%s' Column '%s'",
                   DataTypes::typeToStringUpper(stored.column.type), schema.getStreamName(),
                   schema.getColumnName(column));
}

void reportColumn(const ConnectionRowType& schema, int column, const StoredColumn& stored, unsigned long recordNo,
                  ConnectionErrors& errors) {
  errors.addGeneral(strprintf("record %lu: %s", recordNo, aboutColumn(schema, column, stored).c_str()));
}

}  // namespace

ConnectionRowByOrder::ConnectionRowByOrder() : fields_(std::make_unique<FieldList>()) {}

ConnectionRowByOrder::~ConnectionRowByOrder() { std::free(flags_); }

void ConnectionRowByOrder::clear() {
  ConnectionRowByOrder::clearData();
  ConnectionRow::clear();
}

void ConnectionRowByOrder::clearData() {
  fields_->clear(static_cast<std::size_t>(fieldCount_));
  fieldCount_ = 0;
  textBytes_ = 0;
  op_ = kDefaultOperation;
  std::free(flags_);
  flags_ = nullptr;
}

ConnectionRow* ConnectionRowByOrder::createNew() {
  auto row = std::make_unique<ConnectionRowByOrder>();
  row->copyCommonFrom(this);
  return row.release();
}

bool ConnectionRowByOrder::getFieldAsString(int index, const char** out) {
  *out = index < fieldCount_ ? fields_->text(static_cast<std::size_t>(index)) : nullptr;
  return *out != nullptr;
}

bool ConnectionRowByOrder::getFieldAsString(int index, std::string& out) {
  const char* text = nullptr;
  const bool present = getFieldAsString(index, &text);
  out = present ? text : "";
  return present;
}

bool ConnectionRowByOrder::setField(int index, std::string_view value) {
  if (index < 0) return false;
  const auto position = static_cast<std::size_t>(index);
  fields_->extend(position + 1);
  fieldCount_ = std::max(fieldCount_, index + 1);
  if (value.data() == nullptr) {
    fields_->setNull(position);
    return true;
  }
  if (!fields_->assign(position, value)) throw std::bad_alloc();
  countText(textBytes_, value.size());
  return true;
}

bool ConnectionRowByOrder::setFieldAsString(int index, const char* value) {
  return setField(index, value == nullptr ? std::string_view() : std::string_view(value));
}

bool ConnectionRowByOrder::setFieldAsString(int index, const std::string& value) {
  return setFieldAsString(index, value.c_str());
}

bool ConnectionRowByOrder::appendFieldAsString(const char* value) { return setFieldAsString(fieldCount_, value); }

bool ConnectionRowByOrder::appendFieldAsString(const std::string& value) {
  return setFieldAsString(fieldCount_, value);
}

char ConnectionRowByOrder::getOp() const { return op_; }
void ConnectionRowByOrder::setOp(char letter) { op_ = letter; }
const char* ConnectionRowByOrder::getFlagsAsString() const { return flags_ != nullptr ? flags_ : ""; }

bool ConnectionRowByOrder::setFlagsAsString(const char* flags) {
  char* const copy = flags != nullptr ? strdup(flags) : nullptr;
  if (flags != nullptr && copy == nullptr) throw std::bad_alloc();
  std::free(flags_);
  flags_ = copy;
  return true;
}

int ConnectionRowByOrder::size() const { return fieldCount_; }

// What toRow checks before it converts; nothing when a check fails, with its message.
std::optional<kyv_internal::RowSource> ConnectionRowByOrder::source(unsigned long recordNo, ConnectionErrors& errors) {
  if (streamType_ == nullptr) {
    errors.addGeneral(strprintf("record %lu: no stream specified", recordNo));
    return std::nullopt;
  }
  const std::span<const kyv_internal::ColumnType> columns = prepared_->schema.columns();
  StreamInterface::StreamOperations operation;
  bool shineThrough = false;
  if (!kyv_internal::parseOperation(operation, op_, recordNo, errors)) return std::nullopt;
  if (!kyv_internal::parseFlags(shineThrough, flags_, recordNo, errors)) return std::nullopt;
  const int need = static_cast<int>(columns.size());
  if (fieldCount_ != need) {
    errors.addGeneral(strprintf("record %lu: wrong number fields for stream '%s', have %d, need %d", recordNo,
                                streamType_->getStreamName(), fieldCount_, need));
    return std::nullopt;
  }
  return kyv_internal::RowSource{
      *streamType_,        prepared_->formats, columns,  fields_->fields(static_cast<std::size_t>(fieldCount_)),
      operation,           shineThrough,       recordNo, prepared_->schema.ownBytes(),
      fields_->textBytes()};
}

void* ConnectionRowByOrder::toRow(ConnectionCallback*, unsigned long recordNo, ConnectionErrors& errors) {
  failedColumn_ = kyv_internal::kNoColumn;
  const auto row = source(recordNo, errors);
  return row ? kyv_internal::buildRecord(*row, errors, failedColumn_) : nullptr;
}

void* ConnectionRowByOrder::toRow(unsigned long recordNo, ConnectionErrors* errors) {
  return toRow(nullptr, recordNo, *errors);
}

bool ConnectionRowByOrder::appendRow(unsigned long recordNo, ConnectionErrors& errors, kyv::ByteBuffer& out) {
  failedColumn_ = kyv_internal::kNoColumn;
  const auto row = source(recordNo, errors);
  return row && kyv_internal::appendRecord(*row, errors, failedColumn_, out);
}

bool ConnectionRowByOrder::fromRow(void* record, ConnectionCallback*, unsigned long recordNo,
                                   ConnectionErrors& errors) {
  clearData();
  if (record == nullptr) return false;
  if (streamType_ == nullptr) {
    errors.addGeneral(strprintf("record %lu: no stream specified", recordNo));
    return false;
  }
  if (readColumns(record, recordNo, errors)) return true;
  clearData();  // a failed conversion leaves an empty row
  return false;
}

bool ConnectionRowByOrder::fromRow(void* record, unsigned long recordNo, ConnectionErrors* errors) {
  return fromRow(record, nullptr, recordNo, *errors);
}

bool ConnectionRowByOrder::readColumns(const void* record, unsigned long recordNo, ConnectionErrors& errors) {
  const kyv_internal::RowReader reader(record);
  if (!kyv_internal::printOperation(op_, reader.opcode(), recordNo, errors)) return false;
  if (reader.shinesThrough()) {
    setFlagsAsString(kShineText);
    countText(textBytes_, sizeof kShineText - 1);
  }
  const std::span<const kyv_internal::ColumnType> columns = prepared_->schema.columns();
  const FormatSet formats = prepared_->formats.set();
  fields_->startRecord(columns.size());
  for (std::size_t i = 0; i < columns.size(); ++i) {
    const int column = static_cast<int>(i);
    const StoredColumn stored{columns[i], reader.column(i)};
    const ColumnRead read = gdMode_ ? readColumn(column, stored, recordNo, errors) : ColumnRead::Field;
    if (read == ColumnRead::Failed) return false;
    if (read == ColumnRead::Delivery || storeNextField(stored, formats)) continue;
    reportColumn(*streamType_, column, stored, recordNo, errors);
    return false;
  }
  return true;
}

// In guaranteed-delivery mode: takes the sequence number or the opcode out of a column that carries one. A null column
// leaves them as they are.
ConnectionRowByOrder::ColumnRead ConnectionRowByOrder::readColumn(int column, const StoredColumn& stored,
                                                                  unsigned long recordNo, ConnectionErrors& errors) {
  const std::string_view name = streamType_->getColumnName(column);
  const bool isSequenceNumber = name == sequenceNumberColumnName_;
  if (!isSequenceNumber && name != opcodeColumnName_) return ColumnRead::Field;
  if (!stored.present()) return ColumnRead::Delivery;
  const std::optional<long long> number = readInteger(stored, prepared_->formats.set());
  if (!number) {
    reportColumn(*streamType_, column, stored, recordNo, errors);
    return ColumnRead::Failed;
  }
  if (isSequenceNumber) {
    sequenceNumber_ = *number;
    return ColumnRead::Delivery;
  }
  const bool known = kyv_internal::printOperation(op_, static_cast<int>(*number), recordNo, errors);
  return known ? ColumnRead::Delivery : ColumnRead::Failed;
}

bool ConnectionRowByOrder::storeNextField(const StoredColumn& stored, const FormatSet& formats) {
  const auto position = static_cast<std::size_t>(fieldCount_);
  if (!stored.present()) {
    fields_->setNull(position);
  } else if (!assignValue(stored, formats, *fields_, position)) {
    return false;
  } else {
    countText(textBytes_, fields_->fields(position + 1)[position].size);
  }
  ++fieldCount_;
  return true;
}

// The next field's memory serves for the text; that field stays null.
std::optional<long long> ConnectionRowByOrder::readInteger(const StoredColumn& stored, const FormatSet& formats) {
  const auto position = static_cast<std::size_t>(fieldCount_);
  fields_->extend(position + 1);
  if (!assignValue(stored, formats, *fields_, position)) return std::nullopt;
  const long long number = std::strtoll(fields_->text(position), nullptr, 10);
  fields_->setNull(position);
  return number;
}

bool ConnectionRowByOrder::getSequenceNumberfromRow(void* record, ConnectionErrors* errors) {
  clearData();
  if (record == nullptr) return false;
  if (streamType_ == nullptr) {
    errors->addGeneral("No stream specified");
    return false;
  }
  if (!gdMode_) return true;
  const kyv_internal::RowReader reader(record);
  const std::span<const kyv_internal::ColumnType> columns = prepared_->schema.columns();
  for (std::size_t i = 0; i < columns.size(); ++i) {
    const int column = static_cast<int>(i);
    const StoredColumn stored{columns[i], reader.column(i)};
    if (sequenceNumberColumnName_ != streamType_->getColumnName(column) || !stored.present()) continue;
    const kyv_internal::SingleFormat format(stored.kind(), {});  // none was given
    const std::optional<long long> number = readInteger(stored, format.set());
    if (!number) {
      errors->addGeneral(aboutColumn(*streamType_, column, stored));
      return false;
    }
    sequenceNumber_ = *number;
  }
  return true;
}
