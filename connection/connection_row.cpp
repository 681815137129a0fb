#include "kyv/connection_row.h"

#include <cstdio>

#include "connection/operation_code.h"
#include "connection/prepared_settings.h"
#include "kyv/time_model.h"

namespace {

// An operation that a converter's external form does not have: says so and answers zero, false or null.
template <class Result>
Result unimplemented() {
  std::fputs("CONNECTOR ERROR: an unimplemented method of ConnectionRow subtype called\n", stderr);
  return Result();
}

}  // namespace

ConnectionCallback::~ConnectionCallback() = default;
ConnectionRowType::~ConnectionRowType() = default;

ConnectionRow::ConnectionRow()
    : timeFormat_(kyv_internal::kDefaultTimeFormat),
      dateFormat_(kyv_internal::kDefaultDateFormat),
      timestampFormat_(kyv_internal::kDefaultDateFormat),
      prepared_(std::make_unique<kyv_internal::PreparedSettings>()) {}

ConnectionRow::~ConnectionRow() {
  if (ownsStreamType_) delete streamType_;
}

// The mark of ownership stays as it was: there is no schema any more, and the next setStreamType sets it anew.
void ConnectionRow::clear() {
  streamName_.clear();
  if (ownsStreamType_) delete streamType_;
  streamType_ = nullptr;
  prepared_->schema.setSchema(nullptr);
}

void ConnectionRow::clearData() {}

void ConnectionRow::setTimeFormat(const char* format) {
  timeFormat_ = format;
  prepared_->formats.time = kyv_internal::PercentFormat(timeFormat_);
}

void ConnectionRow::setDateFormat(const char* format) {
  dateFormat_ = format;
  prepared_->formats.date = kyv_internal::PercentFormat(dateFormat_);
}

void ConnectionRow::setTimestampFormat(const char* format) {
  timestampFormat_ = format;
  prepared_->formats.timestamp = kyv_internal::PercentFormat(timestampFormat_);
}

void ConnectionRow::setTimeModel(const kyv::TimeModel& model) {
  prepared_->formats.time = kyv_internal::PercentFormat(model);
}

void ConnectionRow::setDateModel(const kyv::TimeModel& model) {
  prepared_->formats.date = kyv_internal::PercentFormat(model);
}

void ConnectionRow::setTimestampModel(const kyv::TimeModel& model) {
  prepared_->formats.timestamp = kyv_internal::PercentFormat(model);
}

void ConnectionRow::setStreamName(const char* name) { streamName_ = name; }
void ConnectionRow::setStreamName(const std::string& name) { streamName_ = name; }
std::string ConnectionRow::getStreamName() { return streamName_; }

void ConnectionRow::setStreamType(ConnectionRowType* type, bool own) {
  if (ownsStreamType_) delete streamType_;
  streamType_ = type;
  ownsStreamType_ = own;
  prepared_->schema.setSchema(type);
}

ConnectionRowType* ConnectionRow::getStreamType() { return streamType_; }

bool ConnectionRow::getFieldAsString(const char*, std::string&) { return unimplemented<bool>(); }
bool ConnectionRow::getFieldAsString(const char*, const char**) { return unimplemented<bool>(); }
bool ConnectionRow::setFieldAsString(const char*, const std::string&) { return unimplemented<bool>(); }
bool ConnectionRow::setFieldAsString(const char*, const char*) { return unimplemented<bool>(); }
bool ConnectionRow::getFieldAsString(int, std::string&) { return unimplemented<bool>(); }
bool ConnectionRow::getFieldAsString(int, const char**) { return unimplemented<bool>(); }
bool ConnectionRow::setFieldAsString(int, const std::string&) { return unimplemented<bool>(); }
bool ConnectionRow::setFieldAsString(int, const char*) { return unimplemented<bool>(); }
bool ConnectionRow::appendFieldAsString(const std::string&) { return unimplemented<bool>(); }
bool ConnectionRow::appendFieldAsString(const char*) { return unimplemented<bool>(); }
char ConnectionRow::getOp() const { return unimplemented<char>(); }
void ConnectionRow::setOp(char) { unimplemented<void>(); }
const char* ConnectionRow::getFlagsAsString() const { return unimplemented<const char*>(); }
bool ConnectionRow::setFlagsAsString(const char*) { return unimplemented<bool>(); }
int ConnectionRow::size() const { return unimplemented<int>(); }
void ConnectionRow::setSeparator(char) { unimplemented<void>(); }
void ConnectionRow::setWithService(bool) { unimplemented<void>(); }
char* ConnectionRow::allocBuffer(int) { return unimplemented<char*>(); }
void ConnectionRow::setBuffer(char*) { unimplemented<void>(); }
void ConnectionRow::setRow(void*, int) { unimplemented<void>(); }
void* ConnectionRow::allocRow(int) { return unimplemented<void*>(); }
void ConnectionRow::adoptRow(void*) { unimplemented<void>(); }
bool ConnectionRow::validate(ConnectionErrors&) { return unimplemented<bool>(); }
bool ConnectionRow::validate(ConnectionErrors*) { return unimplemented<bool>(); }
void* ConnectionRow::getRow() const { return unimplemented<void*>(); }
int ConnectionRow::getRowSize() { return unimplemented<int>(); }

bool ConnectionRow::fromRow(void* record, ConnectionCallback*, unsigned long recordNo, ConnectionErrors& errors) {
  return ConnectionRow::fromRow(record, recordNo, &errors);
}

bool ConnectionRow::fromRow(void*, unsigned long, ConnectionErrors* errors) {
  errors->addGeneral("Conversion from raw rows to this subtype of ConnectionRow is not implemented.");
  return false;
}

void ConnectionRow::enableGDMode() { gdMode_ = true; }
void ConnectionRow::setSequenceNumberColumnName(const char* name) { sequenceNumberColumnName_ = name; }
void ConnectionRow::setOpcodeColumnName(const char* name) { opcodeColumnName_ = name; }
long long ConnectionRow::getSequenceNumber() { return sequenceNumber_; }

void ConnectionRow::copyCommonFrom(ConnectionRow* source) {
  setStreamName(source->streamName_);
  ConnectionRowType* const type = source->streamType_;
  const bool own = source->ownsStreamType_ && type != nullptr;
  setStreamType(own ? type->clone() : type, own);
  setDateFormat(source->dateFormat_.c_str());
  setTimeFormat(source->timeFormat_.c_str());
  setTimestampFormat(source->timestampFormat_.c_str());
  prepared_->formats = source->prepared_->formats;  // which may be models
}

bool ConnectionRow::parseOp(StreamInterface::StreamOperations& out, char letter, unsigned long recordNo,
                            ConnectionErrors& errors) {
  return kyv_internal::parseOperation(out, letter, recordNo, errors);
}

bool ConnectionRow::parseOp(StreamInterface::StreamOperations& out, char letter, unsigned long recordNo,
                            ConnectionErrors* errors) {
  return kyv_internal::parseOperation(out, letter, recordNo, *errors);
}

bool ConnectionRow::printOp(char& out, int op, unsigned long recordNo, ConnectionErrors& errors) {
  return kyv_internal::printOperation(out, op, recordNo, errors);
}

bool ConnectionRow::printOp(char& out, int op, unsigned long recordNo, ConnectionErrors* errors) {
  return kyv_internal::printOperation(out, op, recordNo, *errors);
}
