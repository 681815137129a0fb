#pragma once

// One typed value between text and its packed form: the dispatch by kind that all converters share.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "datatypes/column_type.h"
#include "datatypes/datetime_text.h"
#include "datatypes/row_formats.h"
#include "kyv/data_types.h"
#include "row2/line_pieces.h"
#include "row2/row2_layout.h"
#include "row2/row_field.h"

namespace kyv_internal {

// The bytes of the record; or with an error the column that could not be packed.
struct PackedFields {
  std::size_t bytes = 0;
  std::size_t column = 0;
  const char* error = nullptr;
};

// Writes the record of a row's fields: its head, with its length, the offset table, and the values one behind another.
// It is as long as packedSize() says of the fields, with kTextSlack bytes behind it that may be overwritten; when a
// field fails it may hold anything.
[[nodiscard]] PackedFields packFields(const RecordHead& head, std::span<const ColumnType> columns,
                                      std::span<const RowField> fields, const FormatSet& formats,
                                      unsigned char* record);

// The same for the pieces of a delimited line without its end, in line memory, when nothing is out of the ordinary: no
// piece begins with a quote, there is one for each column, and all convert. Returns the bytes of the record, else 0. No
// value takes more than kDecimalSize bytes beside its text's.
[[nodiscard]] std::size_t packLine(const RecordHead& head, std::span<const ColumnType> columns,
                                   std::span<const char> line, char separator, const FormatSet& formats,
                                   unsigned char* record);

struct PackedLines {
  std::size_t lines = 0;
  std::size_t bytes = 0;  // of their records
  bool stopped = false;   // by a line in which something is out of the ordinary
};

// The same for lines of a text, each of which may take `room` bytes, as many as there is memory for. When it is stopped
// the text stands within the line that did it.
[[nodiscard]] PackedLines packLines(const RecordHead& head, std::span<const ColumnType> columns, TextPieces& text,
                                    const FormatSet& formats, std::size_t room, std::span<unsigned char> memory);

// How values become text.
enum class TextStyle : std::uint8_t {
  Row,    // as rows give it: floats with g_decimalSize places, times with a fraction
  Exact,  // floats with as many digits as they need, no zero fraction
};

// Longest text of a value that is neither a string nor binary.
inline constexpr std::size_t kMaxValueText = kMaxFormattedText;

// Writes the text of a packed value in host order that is neither a string nor binary, without terminator; `out` has
// room for kMaxValueText characters. Returns its end; nothing is written for a kind without text. The value has its
// type's size.
char* printValue(ColumnType column, const unsigned char* value, const FormatSet& formats, TextStyle style, char* out);

// Writes the default text of such a value: what printValue gives in the row style, but dates and times in the default
// formats.
char* printDefault(const ColumnType& column, const unsigned char* value, ZoneSuffix zone, char* out);

// Bytes that printing reads: dates and times are as wide as the settings say.
inline std::size_t storedSize(const ColumnType& column) {
  if (column.kind == Kind::Date) return DataTypes::g_dateSize;
  if (column.kind == Kind::Time) return DataTypes::g_timeSize;
  return column.size;
}

// The text inside a packed string: up to its terminator, or all of it without one.
std::string_view packedString(std::span<const unsigned char> value);

// The bytes inside a packed binary value: as many as its prefix says, at most what is there.
std::span<const unsigned char> packedBytes(std::span<const unsigned char> value);

}  // namespace kyv_internal
