#include "kyv/stream_schema.h"

#include <cstddef>
#include <utility>

#include "kyv/data_types.h"

namespace kyv {

namespace {

bool isIndexOf(int index, const std::vector<StreamColumn>& columns) {
  return index >= 0 && static_cast<std::size_t>(index) < columns.size();
}

}  // namespace

StreamSchema::StreamSchema(std::string name, int id, std::vector<StreamColumn> columns)
    : name_(std::move(name)), id_(id), columns_(std::move(columns)) {}

int StreamSchema::getColumnCount() const { return static_cast<int>(columns_.size()); }

const char* StreamSchema::getColumnName(int index) const {
  return isIndexOf(index, columns_) ? columns_[static_cast<std::size_t>(index)].name.c_str() : "";
}

unsigned int StreamSchema::getColumnType(int index) const {
  return isIndexOf(index, columns_) ? columns_[static_cast<std::size_t>(index)].type : DataTypes::kUndefined;
}

ConnectionRowType* StreamSchema::clone() const { return new StreamSchema(*this); }
const char* StreamSchema::getStreamName() const { return name_.c_str(); }
int StreamSchema::getStreamId() const { return id_; }

}  // namespace kyv
