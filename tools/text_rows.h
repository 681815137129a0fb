#pragma once

// Rows of delimited text, converted to records.

#include <memory>

#include "field_order.h"
#include "kyv/stream_schema.h"
#include "row_converter.h"
#include "text_layout.h"

namespace kyv_internal {

// A converter for quoted or plain text, as the layout says; with an order, columns are taken from the fields that it
// names. The order must be complete before the first row.
std::unique_ptr<RowConverter> makeTextRows(const kyv::StreamSchema& schema, const TextLayout& layout,
                                           std::shared_ptr<const FieldOrder> order = nullptr);

}  // namespace kyv_internal
