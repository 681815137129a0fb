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
  std::span<const ColumnType> columns() { return ready_ ? columns_ : askedColumns(); }
  // What the columns that were got last take in a record beside their texts.
  std::size_t ownBytes() const { return ownBytes_; }

  // Whether what the schema once said holds until version() changes.
  bool neverChanges() const { return ready_; }
  std::uint64_t version() const { return version_; }

 private:
  std::span<const ColumnType> askedColumns();
  void take(std::span<const ColumnType> columns) {
    columns_ = columns;
    ownBytes_ = kyv_internal::ownBytes(columns);
  }

  const ConnectionRowType* schema_ = nullptr;
  bool ready_ = false;  // whether it is the library's own
  std::span<const ColumnType> columns_;
  std::size_t ownBytes_ = 0;
  std::vector<ColumnType> asked_;
  std::uint64_t version_ = 0;  // counts the schemas
};

}  // namespace kyv_internal
