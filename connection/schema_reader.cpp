#include "connection/schema_reader.h"

#include <algorithm>

namespace kyv_internal {

void SchemaReader::setSchema(const ConnectionRowType* schema) {
  schema_ = schema;
  const auto* const own = dynamic_cast<const kyv::StreamSchema*>(schema);
  ready_ = own != nullptr;
  if (ready_) take(own->columnTypes());
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
  take(asked_);
  return columns_;
}

}  // namespace kyv_internal
