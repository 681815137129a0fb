#pragma once

// The trades' schema in the library's terms.

#include <utility>
#include <vector>

#include "benchmarks/trades.h"
#include "kyv/connection_row.h"
#include "kyv/data_types.h"
#include "kyv/stream_schema.h"

namespace kyv_internal {

inline kyv::StreamSchema tradeSchema() {
  std::vector<kyv::StreamColumn> columns;
  for (const TradeColumn& column : kTradeColumns)
    columns.push_back({column.name, DataTypes::stringToType(column.type)});
  return {kTradeStream, kTradeStreamId, std::move(columns)};
}

// The schema must outlive the row.
inline void configureTradeRow(ConnectionRow& row, kyv::StreamSchema& schema) {
  row.setStreamType(&schema, false);
  row.setDateFormat(kTradeTimeFormat);
  row.setTimestampFormat(kTradeTimeFormat);
}

}  // namespace kyv_internal
