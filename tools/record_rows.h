#pragma once

// Records, converted to lines of delimited text or of JSON.

#include <memory>
#include <string>

#include "kyv/stream_schema.h"
#include "row_converter.h"
#include "text_layout.h"

namespace kyv_internal {

enum class PrintForm { kDelimited, kJson };

std::unique_ptr<RowConverter> makeRecordRows(const kyv::StreamSchema& schema, const TextLayout& layout, PrintForm form);

// The line of column names above delimited text, written as its fields are.
std::string headerLine(const kyv::StreamSchema& schema, const TextLayout& layout);

}  // namespace kyv_internal
