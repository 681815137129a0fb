#include "kyv/stream_schema.h"

#include <cstddef>
#include <utility>

#include "datatypes/column_type.h"
#include "kyv/data_types.h"

namespace kyv {

namespace {

template <class T>
bool isIndexOf(int index, const std::vector<T>& columns) {
  return static_cast<unsigned int>(index) < columns.size();
}

}  // namespace

StreamSchema::StreamSchema(std::string name, int id, const std::vector<StreamColumn>& columns)
    : name_(std::move(name)), id_(id) {
  for (const StreamColumn& column : columns) {
    columnNames_.push_back(column.name);
    columnTypes_.push_back(kyv_internal::columnTypeOf(column.type));
  }
}

StreamSchema::StreamSchema(const StreamSchema& other) = default;
StreamSchema::~StreamSchema() = default;

std::span<const kyv_internal::ColumnType> StreamSchema::columnTypes() const { return columnTypes_; }

int StreamSchema::getColumnCount() const { return static_cast<int>(columnTypes_.size()); }

const char* StreamSchema::getColumnName(int index) const {
  return isIndexOf(index, columnNames_) ? columnNames_[static_cast<unsigned int>(index)].c_str() : "";
}

unsigned int StreamSchema::getColumnType(int index) const {
  return isIndexOf(index, columnTypes_) ? columnTypes_[static_cast<unsigned int>(index)].type : DataTypes::kUndefined;
}

ConnectionRowType* StreamSchema::clone() const { return new StreamSchema(*this); }
const char* StreamSchema::getStreamName() const { return name_.c_str(); }
int StreamSchema::getStreamId() const { return id_; }

}  // namespace kyv
