#pragma once

// Records, converted to lines of delimited text or of JSON.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "kyv/record_printer.h"
#include "kyv/stream_schema.h"
#include "row_converter.h"
#include "text_layout.h"

namespace kyv_internal {

enum class PrintForm { kDelimited, kJson };

// Whether records are led by the number that their row has in its stream, and whether a line then begins with it and
// with the operation.
enum class RowNumbers { kNone, kHidden, kShown };
inline constexpr std::size_t kRowNumberBytes = sizeof(std::int64_t);  // in the host's byte order

// Each record becomes a line of these columns.
std::unique_ptr<RowConverter> makeRecordRows(const kyv::StreamSchema& schema, const TextLayout& layout, PrintForm form,
                                             const std::vector<kyv::RecordPrinter::Column>& columns,
                                             RowNumbers numbers = RowNumbers::kNone);

// The columns of a schema, as they stand there.
std::vector<kyv::RecordPrinter::Column> columnsOf(const kyv::StreamSchema& schema);

// The line of column names above delimited text, written as its fields are.
std::string headerLine(const std::vector<kyv::RecordPrinter::Column>& columns, const TextLayout& layout,
                       RowNumbers numbers = RowNumbers::kNone);

}  // namespace kyv_internal
