#include "connection/schema_reader.h"

#include <algorithm>

namespace kyv_internal {

void SchemaReader::setSchema(const ConnectionRowType* schema) {
  schema_ = schema;
  ready_ = dynamic_cast<const kyv::StreamSchema*>(schema);
  ++version_;
}

std::span<const ColumnType> SchemaReader::askedColumns() {
  const int count = std::max(schema_->getColumnCount(), 0);
  asked_.resize(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    ColumnType& column = asked_[static_cast<std::size_t>(i)];
    const unsigned int type = schema_->getColumnType(i);
    if (column.type != type) column = columnTypeOf(type);
  }
  return asked_;
}

}  // namespace kyv_internal
