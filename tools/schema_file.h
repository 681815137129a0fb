#pragma once

// The schema file: a stream's name, number and columns, and how its delimited text is written, as JSON.
//
//   {"stream": "Trades", "id": 1, "key": ["Id"],
//    "columns": [{"name": "Id", "type": "long"}, {"name": "Day", "type": "date"}],
//    "formats": {"date": "%Y-%m-%d"}, "separator": ",", "header": true, "quoted": false}
//
// "stream" and "columns" are required. "rows", and "nulls" of a column, are what `kyv infer` has seen; they change
// nothing. An unknown key is refused: it is most likely a misspelled one.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kyv/stream_schema.h"
#include "text_layout.h"

namespace kyv_internal {

struct SchemaFile {
  std::string stream;
  int id = 0;
  std::vector<std::string> key;  // names of columns
  std::vector<kyv::StreamColumn> columns;
  TextLayout text;
  std::optional<std::uint64_t> rows;
  std::vector<std::optional<std::uint64_t>> nulls;  // one a column

  kyv::StreamSchema schema() const { return {stream, id, columns}; }
};

// Reads the text of a schema file. False with a message that says what is wrong and where, `schema` unspecified.
[[nodiscard]] bool parseSchema(std::string_view text, SchemaFile& schema, std::string& error);

// Reads a schema file. The message begins with the file's name.
[[nodiscard]] bool readSchemaFile(const std::string& path, SchemaFile& schema, std::string& error);

// A name as a schema file can hold it: with U+FFFD where it is not UTF-8.
std::string nameInSchema(const std::string& name);

// The text of a schema file, a line a column, that parseSchema reads back to the same.
std::string schemaText(const SchemaFile& schema);
// The same on one line.
std::string schemaLine(const SchemaFile& schema);

}  // namespace kyv_internal
