#include "platform/sdk/row_writer.h"

#include <utility>

#include "kyv/connection_row.h"
#include "kyv/data_types.h"
#include "platform/sdk/stream_record.h"
#include "row2/row2_layout.h"

namespace kyv_internal {

namespace {

constexpr std::int32_t kNull = -1;

}  // namespace

void RowWriter::start() {
  started_ = true;
  operation_ = StreamInterface::Insert;
  offsets_.clear();
  values_.clear();
}

bool RowWriter::isStarted(Failure& failure) const {
  return started_ || fail(failure, KYV_ERROR_USAGE, "stream '%s': no row was started", stream_->name.c_str());
}

bool RowWriter::setOperation(std::int32_t operation, Failure& failure) {
  if (!isStarted(failure)) return false;
  operation_ = operation;
  return true;
}

bool RowWriter::takesColumn(Failure& failure) const {
  if (!isStarted(failure)) return false;
  return offsets_.size() < stream_->columns.size() ||
         fail(failure, KYV_ERROR_REFUSED, "stream '%s': all %zu columns have their values", stream_->name.c_str(),
              stream_->columns.size());
}

bool RowWriter::takesType(std::uint32_t type, Failure& failure) const {
  if (!takesColumn(failure)) return false;
  const StreamDefinition::Column& column = stream_->columns[offsets_.size()];
  return column.type == type || fail(failure, KYV_ERROR_REFUSED, "stream '%s': column '%s' is of type %s, not %s",
                                     stream_->name.c_str(), column.name.c_str(), typeName(column.type), typeName(type));
}

template <class Value>
void RowWriter::append(Value value) {
  char bytes[sizeof value];
  store(bytes, value);
  values_.reserve(values_.size() + sizeof bytes);  // the value and its place, or neither
  offsets_.push_back(static_cast<std::int32_t>(values_.size()));
  values_.append(bytes, sizeof bytes);
}

bool RowWriter::setLong(std::int64_t value, Failure& failure) {
  if (!takesType(DataTypes::kLong, failure)) return false;
  append(value);
  return true;
}

bool RowWriter::setInteger(std::int32_t value, Failure& failure) {
  if (!takesType(DataTypes::kInteger, failure)) return false;
  append(value);
  return true;
}

bool RowWriter::setBoolean(bool value, Failure& failure) {
  if (!takesType(DataTypes::kBoolean, failure)) return false;
  append<std::uint8_t>(value ? 1 : 0);
  return true;
}

bool RowWriter::setNull(Failure& failure) {
  if (!takesColumn(failure)) return false;
  offsets_.push_back(kNull);
  return true;
}

bool RowWriter::end(std::string& record, Failure& failure) {
  if (!isStarted(failure)) return false;
  started_ = false;
  const std::size_t columns = stream_->columns.size();
  if (offsets_.size() != columns) {
    return fail(failure, KYV_ERROR_REFUSED, "stream '%s': the row has %zu of %zu columns", stream_->name.c_str(),
                offsets_.size(), columns);
  }
  const std::size_t payload = payloadOffset(columns);
  record.assign(payload, '\0');
  record += values_;
  store(at(record.data(), kLengthOffset), static_cast<std::int32_t>(record.size()));
  store(at(record.data(), kOpcodeOffset), operation_);
  store(at(record.data(), kStreamIdOffset), stream_->id);
  store(at(record.data(), kFlagsOffset), kHostByteOrderFlag);
  store(at(record.data(), kCountsOffset), static_cast<std::uint32_t>(columns));
  for (std::size_t i = 0; i < columns; ++i) {
    if (offsets_[i] == kNull) continue;
    store(at(record.data(), entryOffset(i)), static_cast<std::int32_t>(payload) + offsets_[i]);
  }
  store(at(record.data(), entryOffset(columns)), static_cast<std::int32_t>(record.size()));
  return true;
}

}  // namespace kyv_internal
