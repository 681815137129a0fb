#pragma once

// What a load is to do, once schema file and options were understood.

#include <optional>
#include <string>

#include "load_cursor.h"
#include "load_statistics.h"
#include "schema_file.h"

namespace kyv_internal {

struct LoadPlan {
  SchemaFile schema;
  std::optional<LoadCursor::KeyColumn> keyColumn;
  std::string adapter;  // the name of the delivery
  LoadStatistics::Form reports = LoadStatistics::Form::kText;
  bool isQuiet = false;
};

}  // namespace kyv_internal
