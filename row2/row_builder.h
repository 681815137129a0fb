#pragma once

// Fields in, record out: the only writer of records. All rows size, allocate, pack and report through it.

#include <cstddef>
#include <span>
#include <string_view>

#include "datatypes/column_type.h"
#include "datatypes/row_formats.h"
#include "kyv/byte_buffer.h"
#include "kyv/connection_row.h"
#include "row2/row_field.h"
#include "services/malloc_ptr.h"

namespace kyv_internal {

inline constexpr int kNoColumn = -1;

// One row on its way to a record. All that it points at outlives the conversion.
struct RowSource {
  const ConnectionRowType& schema;
  const RowFormats& formats;
  std::span<const ColumnType> columns;
  std::span<const RowField> fields;  // one a column
  StreamInterface::StreamOperations operation;
  bool shineThrough;
  unsigned long recordNo;  // quoted in messages
  std::size_t ownBytes;    // what all columns take at most beside their texts
  std::size_t textBytes;   // characters of all texts, or more
};

using RecordMemory = MallocPtr<unsigned char>;

// The record in memory from malloc, which the caller frees; or null with one message, and the column whose text did not
// convert in `failedColumn` (kNoColumn when none did not). `memory` is what buildUsualRecord() left of the same source.
void* buildRecord(const RowSource& source, ConnectionErrors& errors, int& failedColumn, RecordMemory memory = nullptr);

// The same record, whose columns are the pieces of a line in line memory; `source` has no fields. Null, and perhaps
// `memory` for buildRecord(), for a line in which something is out of the ordinary.
void* buildUsualRecord(const RowSource& source, std::span<const char> line, char separator, RecordMemory& memory);

// Both records behind what `out` holds. On failure `out` is as before.
bool appendRecord(const RowSource& source, ConnectionErrors& errors, int& failedColumn, kyv::ByteBuffer& out);
bool appendUsualRecord(const RowSource& source, std::span<const char> line, char separator, kyv::ByteBuffer& out);

// How far a text was converted.
struct LinesDone {
  std::size_t lines = 0;  // that became records
  std::size_t bytes = 0;  // of them
  std::size_t searched =
      0;  // a line that ends within these bytes of the text, and is no record, is out of the ordinary
};

// The records of a text's lines, one after another, behind what `out` holds, as long as that is less than `mostBytes`:
// up to the first line in which something is out of the ordinary, or which is too near to the text's end, or longer
// than TextPieces::kLongestLine. REQUIRES: kTextSlack bytes before the text may be read. The source's text bytes do not
// matter.
LinesDone appendUsualRecords(const RowSource& source, std::string_view text, char separator, std::size_t mostBytes,
                             kyv::ByteBuffer& out);

}  // namespace kyv_internal
