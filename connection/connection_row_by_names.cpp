#include "kyv/connection_row_by_names.h"

#include "connection/named_columns.h"
#include "connection/named_fields.h"
#include "connection/operation_code.h"
#include "connection/prepared_settings.h"
#include "kyv/string_utility.h"
#include "row2/row_builder.h"

namespace {

using kyv_internal::NamedColumns;
using kyv_internal::NamedFields;

// The operation of the reserved field; upsert without it. False with a message for an unknown letter.
bool readOperation(const NamedFields& fields, StreamInterface::StreamOperations& operation, unsigned long recordNo,
                   ConnectionErrors& errors) {
  const char* const text = fields.text(NamedFields::kOperation).data;
  operation = StreamInterface::Upsert;
  return text == nullptr || kyv_internal::parseOperation(operation, *text, recordNo, errors);
}

bool readFlags(const NamedFields& fields, bool& shineThrough, unsigned long recordNo, ConnectionErrors& errors) {
  return kyv_internal::parseFlags(shineThrough, fields.text(NamedFields::kFlags).data, recordNo, errors);
}

}  // namespace

ConnectionRowByNames::ConnectionRowByNames()
    : fields_(std::make_unique<NamedFields>()), columns_(std::make_unique<NamedColumns>()) {}

ConnectionRowByNames::~ConnectionRowByNames() = default;

void ConnectionRowByNames::clear() {
  ConnectionRowByNames::clearData();
  ConnectionRow::clear();
}

void ConnectionRowByNames::clearData() {
  fields_->clear();
  textBytes_ = 0;
  ConnectionRow::clearData();
}

ConnectionRow* ConnectionRowByNames::createNew() {
  auto row = std::make_unique<ConnectionRowByNames>();
  row->copyCommonFrom(this);
  return row.release();
}

bool ConnectionRowByNames::getFieldAsString(const char* name, const char** out) {
  *out = fields_->text(fields_->slotOf(name)).data;
  return *out != nullptr;
}

bool ConnectionRowByNames::getFieldAsString(const char* name, std::string& out) {
  const char* text = nullptr;
  const bool present = getFieldAsString(name, &text);
  out = present ? text : "";
  return present;
}

bool ConnectionRowByNames::setFieldAsString(const char* name, const char* value) {
  const std::string_view text(value);
  fields_->set(name, text);
  // A row that is never cleared reaches 2 GiB of text; the sum wraps then.
  textBytes_ = static_cast<int>(static_cast<unsigned int>(textBytes_) + static_cast<unsigned int>(text.size() + 1));
  return true;
}

bool ConnectionRowByNames::setFieldAsString(const char* name, const std::string& value) {
  return setFieldAsString(name, value.c_str());
}

void* ConnectionRowByNames::toRow(ConnectionCallback*, unsigned long recordNo, ConnectionErrors& errors) {
  failedColumn_ = kyv_internal::kNoColumn;
  if (streamType_ == nullptr) {
    errors.addGeneral(DALVON::Kyv::strprintf("record %lu: no stream specified", recordNo));
    return nullptr;
  }
  const std::span<const kyv_internal::ColumnType> columns = prepared_->schema.columns();
  StreamInterface::StreamOperations operation;
  bool shineThrough = false;
  if (!readOperation(*fields_, operation, recordNo, errors)) return nullptr;
  if (!readFlags(*fields_, shineThrough, recordNo, errors)) return nullptr;
  const std::span<const kyv_internal::RowField> fields =
      columns_->fieldsOf(*streamType_, prepared_->schema, columns.size(), *fields_);
  return kyv_internal::buildRecord({*streamType_, prepared_->formats, columns, fields, operation, shineThrough,
                                    recordNo, prepared_->schema.ownBytes(), columns_->textBytes()},
                                   errors, failedColumn_);
}

void* ConnectionRowByNames::toRow(unsigned long recordNo, ConnectionErrors* errors) {
  return toRow(nullptr, recordNo, *errors);
}
