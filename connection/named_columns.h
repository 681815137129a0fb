#pragma once

// The way from a schema's columns to the fields of a named row. Where a column's name was found is remembered; a schema
// that may change is asked for its names each time, and what they are is compared.

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "connection/named_fields.h"
#include "connection/schema_reader.h"
#include "kyv/connection_row.h"
#include "row2/row_field.h"

namespace kyv_internal {

class NamedColumns {
 public:
  // The fields of the schema's first `count` columns, null where there is none; valid until the next call. `reader` is
  // the schema's.
  std::span<const RowField> fieldsOf(const ConnectionRowType& schema, const SchemaReader& reader, std::size_t count,
                                     const NamedFields& fields);

  // Characters of the texts of the last such fields.
  std::size_t textBytes() const { return textBytes_; }

 private:
  bool isUpToDate(const SchemaReader& reader, std::size_t count, const NamedFields& fields) const;
  void find(const ConnectionRowType& schema, const NamedFields& fields);

  std::vector<NamedFields::Slot> slots_;  // of each column
  std::vector<RowField> fields_;          // of each column
  std::size_t textBytes_ = 0;
  std::uint64_t schemaVersion_ = 0;       // what the slots were found for
  std::uint64_t namesVersion_ = 0;
};

}  // namespace kyv_internal
