#pragma once

// What a row prepares once from its settings and uses for every conversion.

#include "connection/schema_reader.h"
#include "datatypes/row_formats.h"

namespace kyv_internal {

struct PreparedSettings {
  RowFormats formats;
  SchemaReader schema;
};

}  // namespace kyv_internal
