// Any text as a schema file. It is refused with a message, or it is a schema that has what a stream needs and is
// written so that it is read back the same.
//
// Input: the file's text.

#include "schema_file.h"

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "kyv/data_types.h"

namespace {

using kyv_fuzz::require;
using kyv_internal::SchemaFile;

void checkColumns(const SchemaFile& file) {
  std::set<std::string> names;
  for (const kyv::StreamColumn& column : file.columns) {
    require(!column.name.empty() && names.insert(column.name).second, "every column has a name of its own");
    const std::string type = DataTypes::typeToString(column.type);
    require(DataTypes::stringToType(type) == column.type && column.type != DataTypes::kUndefined,
            "every column has a type with a name");
  }
  require(!names.empty() && file.nulls.size() == names.size(), "a schema has columns, each with or without nulls seen");
  require(std::all_of(file.key.begin(), file.key.end(), [&](const std::string& key) { return names.contains(key); }),
          "a key is of columns");
}

void checkReadingBack(const SchemaFile& file) {
  const std::string text = schemaText(file);
  SchemaFile again;
  std::string error;
  require(kyv_internal::parseSchema(text, again, error), "a schema that was written can be read");
  require(schemaText(again) == text, "a schema is read back the same");
  require(again.stream == file.stream && again.id == file.id && again.columns.size() == file.columns.size() &&
              again.key == file.key && again.text.separator == file.text.separator &&
              again.text.dateFormat == file.text.dateFormat,
          "nothing is lost in writing");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kyv_fuzz::FuzzInput input(data, size);
  const std::string_view bytes = input.bytes();
  const std::vector<char> exactly(bytes.begin(), bytes.end());
  SchemaFile file;
  std::string error;
  const bool good = kyv_internal::parseSchema({exactly.data(), exactly.size()}, file, error);
  require(good == error.empty(), "a schema that is refused has a message");
  if (!good) return 0;
  require(!file.stream.empty() && file.schema().getStreamName() == file.stream, "a stream has a name");
  checkColumns(file);
  checkReadingBack(file);
  return 0;
}
