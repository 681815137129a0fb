#pragma once

// Rows of delimited text, converted to records.

#include <memory>

#include "kyv/stream_schema.h"
#include "row_converter.h"
#include "text_layout.h"

namespace kyv_internal {

// A converter for quoted or plain text, as the layout says.
std::unique_ptr<RowConverter> makeTextRows(const kyv::StreamSchema& schema, const TextLayout& layout);

}  // namespace kyv_internal
