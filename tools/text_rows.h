#pragma once

// Rows of delimited text, converted to records.

#include <memory>

#include "field_order.h"
#include "kyv/connection_row_by_order.h"
#include "kyv/connection_row_csv.h"
#include "kyv/connection_row_pool.h"
#include "kyv/stream_schema.h"
#include "row_converter.h"
#include "text_layout.h"

namespace kyv_internal {

// Rows with the settings of a schema and a layout, for any number of converters.
//
// Threads: any number may borrow at once.
class TextRowPools {
 public:
  template <class Row>
  struct GiveBack {
    ConnectionRowPool* pool;
    void operator()(Row* row) const { pool->free(row); }
  };
  template <class Row>
  using Borrowed = std::unique_ptr<Row, GiveBack<Row>>;

  TextRowPools(const kyv::StreamSchema& schema, TextLayout layout);

  const kyv::StreamSchema& schema() const { return schema_; }
  const TextLayout& layout() const { return layout_; }
  // For whole lines, and for fields; both go back before the pools go.
  Borrowed<ConnectionRowCsv> borrowLine() { return borrow<ConnectionRowCsv>(lines_); }
  Borrowed<ConnectionRowByOrder> borrowFields() { return borrow<ConnectionRowByOrder>(fields_); }

 private:
  // A pool's rows are of its prototype's class.
  template <class Row>
  static Borrowed<Row> borrow(ConnectionRowPool& pool) {
    return {static_cast<Row*>(pool.alloc()), GiveBack<Row>{&pool}};
  }

  kyv::StreamSchema schema_;
  TextLayout layout_;
  ConnectionRowPool lines_;
  ConnectionRowPool fields_;
};

// A converter for quoted or plain text, as the layout says; with an order, columns are taken from the fields that it
// names. The order must be complete before the first row.
std::unique_ptr<RowConverter> makeTextRows(std::shared_ptr<TextRowPools> pools,
                                           std::shared_ptr<const FieldOrder> order = nullptr);

}  // namespace kyv_internal
