#pragma once

// The column types of a row's schema. A schema may change between two rows and is asked for each, but the library's own
// schema never changes and has them ready.

#include <cstdint>
#include <span>
#include <vector>

#include "datatypes/column_type.h"
#include "kyv/connection_row.h"
#include "kyv/stream_schema.h"

namespace kyv_internal {

class SchemaReader {
 public:
  // Takes another schema, or none.
  void setSchema(const ConnectionRowType* schema);

  // The schema's columns; valid until the next call. There is a schema.
  std::span<const ColumnType> columns() { return ready_ != nullptr ? ready_->columnTypes() : askedColumns(); }

  // Whether what the schema once said holds until version() changes.
  bool neverChanges() const { return ready_ != nullptr; }
  std::uint64_t version() const { return version_; }

 private:
  std::span<const ColumnType> askedColumns();

  const ConnectionRowType* schema_ = nullptr;
  const kyv::StreamSchema* ready_ = nullptr;  // the same, when it is the library's own
  std::vector<ColumnType> asked_;
  std::uint64_t version_ = 0;  // counts the schemas
};

}  // namespace kyv_internal
