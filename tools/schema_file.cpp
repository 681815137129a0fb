#include "schema_file.h"

#include <algorithm>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <set>
#include <utility>

#include "input_file.h"
#include "kyv/data_types.h"
#include "kyv/string_utility.h"
#include "quoted_reader.h"

namespace kyv_internal {
namespace {

using DALVON::Kyv::strprintf;
using Json = nlohmann::json;

constexpr std::size_t kMostSchemaBytes = std::size_t{4} << 20;

// The catalogue finds a decimal wherever a name holds the word; here it must be decimal(p,s) or decimal(p).
bool isType(unsigned int type, const std::string& name) {
  if (type == DataTypes::kUndefined) return false;
  if (name.find("decimal") == std::string::npos) return true;
  const std::string proper = DataTypes::typeToString(type);
  const bool storesDigits = type != DataTypes::createFixedDecimal(0, 0);
  return storesDigits && (proper == name || proper == name.substr(0, name.size() - 1) + ",0)");
}

// Reads the members of the file's objects. The first thing that is wrong is kept as the message, and nothing after it
// counts.
class SchemaParser {
 public:
  explicit SchemaParser(SchemaFile& schema) : schema_(schema) {}

  bool parse(const Json& root);
  const std::string& error() const { return error_; }

 private:
  using Keys = std::initializer_list<const char*>;

  bool refuse(std::string message);
  bool checkKeys(const Json& object, const std::string& where, Keys known);
  bool readText(const Json& object, const char* key, const std::string& where, std::string& out);
  bool readFlag(const Json& object, const char* key, std::optional<bool>& out);
  bool readCount(const Json& object, const char* key, const std::string& where, std::optional<std::uint64_t>& out);
  bool readSpelling(const Json& formats, const TextLayout::Spelling& spelling);
  bool readFormat(const Json& formats, const char* key, std::optional<std::string>& out);
  bool readId(const Json& root);
  bool readKey(const Json& root);
  bool readKeyName(const Json& name);
  bool readColumns(const Json& root);
  bool readColumn(const Json& column, const std::string& where);
  bool readType(const Json& column, const std::string& where);
  bool readFormats(const Json& root);
  bool readSeparator(const Json& root);

  SchemaFile& schema_;
  std::set<std::string> names_;
  std::string error_;
};

bool SchemaParser::refuse(std::string message) {
  if (error_.empty()) error_ = std::move(message);
  return false;
}

bool SchemaParser::parse(const Json& root) {
  if (!root.is_object()) return refuse(R"(a schema is a JSON object, {"stream": ..., "columns": [...]})");
  return checkKeys(root, "the schema",
                   {"stream", "id", "key", "columns", "formats", "separator", "header", "quoted", "rows"}) &&
         readText(root, "stream", "the schema", schema_.stream) && readId(root) && readColumns(root) && readKey(root) &&
         readFormats(root) && readSeparator(root) && readFlag(root, "header", schema_.text.header) &&
         readFlag(root, "quoted", schema_.text.quoted) && readCount(root, "rows", "the schema", schema_.rows);
}

bool SchemaParser::checkKeys(const Json& object, const std::string& where, Keys known) {
  for (const auto& member : object.items()) {
    const auto matches = [&](const char* key) { return member.key() == key; };
    if (std::any_of(known.begin(), known.end(), matches)) continue;
    std::string list;
    for (const char* key : known) {
      if (!list.empty()) list += ", ";
      list += key;
    }
    return refuse(strprintf("unknown key \"%s\" in %s (known: %s)", member.key().c_str(), where.c_str(), list.c_str()));
  }
  return true;
}

// A required text that is not empty and has no NUL in it.
bool SchemaParser::readText(const Json& object, const char* key, const std::string& where, std::string& out) {
  const auto found = object.find(key);
  if (found == object.end()) return refuse(strprintf("\"%s\" is missing in %s", key, where.c_str()));
  if (!found->is_string()) return refuse(strprintf("\"%s\" of %s must be a text", key, where.c_str()));
  out = found->get<std::string>();
  if (out.empty()) return refuse(strprintf("\"%s\" of %s is empty", key, where.c_str()));
  if (out.find('\0') != std::string::npos) return refuse(strprintf("\"%s\" of %s holds a NUL", key, where.c_str()));
  return true;
}

bool SchemaParser::readFlag(const Json& object, const char* key, std::optional<bool>& out) {
  const auto found = object.find(key);
  if (found == object.end()) return true;
  if (!found->is_boolean()) return refuse(strprintf("\"%s\" must be true or false", key));
  out = found->get<bool>();
  return true;
}

bool SchemaParser::readCount(const Json& object, const char* key, const std::string& where,
                             std::optional<std::uint64_t>& out) {
  const auto found = object.find(key);
  if (found == object.end()) return true;
  if (!found->is_number_unsigned()) return refuse(strprintf("\"%s\" of %s must be a count", key, where.c_str()));
  out = found->get<std::uint64_t>();
  return true;
}

bool SchemaParser::readId(const Json& root) {
  const auto found = root.find("id");
  if (found == root.end()) return true;
  const bool fits = found->is_number_unsigned() ? found->get<std::uint64_t>() <= INT32_MAX
                                                : found->is_number_integer() && found->get<std::int64_t>() >= INT32_MIN;
  if (!fits) return refuse("\"id\" must be a whole number of 32 bits");
  schema_.id = found->get<int>();
  return true;
}

bool SchemaParser::readColumns(const Json& root) {
  const auto found = root.find("columns");
  if (found == root.end()) return refuse("\"columns\" is missing in the schema");
  if (!found->is_array() || found->empty()) return refuse("\"columns\" must be a list of at least one column");
  if (found->size() > kMostFields) return refuse("more than " + std::to_string(kMostFields) + " columns");
  for (std::size_t i = 0; i < found->size(); ++i) {
    if (!readColumn((*found)[i], "column " + std::to_string(i + 1))) return false;
  }
  return true;
}

bool SchemaParser::readColumn(const Json& column, const std::string& where) {
  if (!column.is_object()) return refuse(where + R"( must be an object, {"name": ..., "type": ...})");
  schema_.columns.emplace_back();
  std::string& name = schema_.columns.back().name;
  if (!checkKeys(column, where, {"name", "type", "nulls"}) || !readText(column, "name", where, name)) return false;
  const std::string named = where + " (\"" + name + "\")";
  if (!names_.insert(name).second) return refuse(named + " has the name of an earlier column");
  return readType(column, named) && readCount(column, "nulls", named, schema_.nulls.emplace_back());
}

bool SchemaParser::readType(const Json& column, const std::string& where) {
  std::string name;
  if (!readText(column, "type", where, name)) return false;
  const unsigned int type = DataTypes::stringToType(name);
  if (!isType(type, name)) {
    return refuse("type \"" + name + "\" of " + where +
                  " is unknown (known: boolean, int16, integer, long, float, money, money(1) to money(15), "
                  "decimal(p,s), interval, date, time, timestamp, bigdatetime, string, binary)");
  }
  schema_.columns.back().type = type;
  return true;
}

bool SchemaParser::readKey(const Json& root) {
  const auto found = root.find("key");
  if (found == root.end()) return true;
  if (!found->is_array()) return refuse("\"key\" must be a list of column names");
  return std::all_of(found->begin(), found->end(), [&](const Json& name) { return readKeyName(name); });
}

bool SchemaParser::readKeyName(const Json& name) {
  if (!name.is_string()) return refuse("\"key\" must be a list of column names");
  schema_.key.push_back(name.get<std::string>());
  if (!names_.contains(schema_.key.back())) return refuse(R"("key" names no column: ")" + schema_.key.back() + "\"");
  return true;
}

bool SchemaParser::readFormats(const Json& root) {
  const auto found = root.find("formats");
  if (found == root.end()) return true;
  if (!found->is_object()) return refuse(R"("formats" must be an object, {"date": "%Y-%m-%d"})");
  return checkKeys(*found, "\"formats\"",
                   {"date", "timestamp", "time", "date_model", "timestamp_model", "time_model"}) &&
         std::ranges::all_of(TextLayout::kSpellings,
                             [&](const TextLayout::Spelling& spelling) { return readSpelling(*found, spelling); });
}

bool SchemaParser::readSpelling(const Json& formats, const TextLayout::Spelling& spelling) {
  const std::string format = spelling.type, model = format + "_model";
  if (formats.contains(format) && formats.contains(model)) {
    return refuse("\"formats\" has both \"" + format + "\" and \"" + model + "\"");
  }
  return readFormat(formats, format.c_str(), schema_.text.*spelling.format) &&
         readFormat(formats, model.c_str(), schema_.text.*spelling.model);
}

bool SchemaParser::readFormat(const Json& formats, const char* key, std::optional<std::string>& out) {
  if (!formats.contains(key)) return true;
  return readText(formats, key, "\"formats\"", out.emplace());
}

bool SchemaParser::readSeparator(const Json& root) {
  const auto found = root.find("separator");
  if (found == root.end()) return true;
  const std::string text = found->is_string() ? found->get<std::string>() : "";
  if (const char* why = refuseSeparator(text)) return refuse(std::string("\"separator\" ") + why);
  schema_.text.separator = text.front();
  return true;
}

// "line 3, column 5: ..." without the JSON library's own prefix.
std::string plainSyntaxError(const std::string& message) {
  const std::string marker = "parse error at ";
  const std::size_t at = message.find(marker);
  return "not valid JSON: " + (at == std::string::npos ? message : message.substr(at + marker.size()));
}

std::string quoted(const std::string& text) { return Json(text).dump(-1, ' ', false, Json::error_handler_t::replace); }

const char* flagText(bool flag) { return flag ? "true" : "false"; }

std::string keyText(const std::vector<std::string>& key) {
  std::string out;
  for (const std::string& name : key) out += (out.empty() ? "" : ", ") + quoted(name);
  return "[" + out + "]";
}

std::string columnsText(const SchemaFile& schema) {
  std::string out = "[";
  for (std::size_t i = 0; i < schema.columns.size(); ++i) {
    const kyv::StreamColumn& column = schema.columns[i];
    out += (i == 0 ? "\n" : ",\n") + std::string("    {\"name\": ") + quoted(column.name) +
           ", \"type\": " + quoted(DataTypes::typeToString(column.type));
    if (schema.nulls[i]) out += ", \"nulls\": " + std::to_string(*schema.nulls[i]);
    out += "}";
  }
  return out + "\n  ]";
}

std::string formatsText(const TextLayout& text) {
  std::string out;
  const auto add = [&](const std::string& key, const std::optional<std::string>& format) {
    if (format) out += (out.empty() ? "\"" : ", \"") + key + "\": " + quoted(*format);
  };
  for (const TextLayout::Spelling& spelling : TextLayout::kSpellings) {
    add(spelling.type, text.*spelling.format);
    add(std::string(spelling.type) + "_model", text.*spelling.model);
  }
  return out.empty() ? out : "{" + out + "}";
}

}  // namespace

bool parseSchema(std::string_view text, SchemaFile& schema, std::string& error) {
  schema = SchemaFile();
  try {
    SchemaParser parser(schema);
    const bool good = parser.parse(Json::parse(text));
    error = parser.error();
    return good;
  } catch (const Json::exception& thrown) {
    error = plainSyntaxError(thrown.what());
    return false;
  }
}

bool readSchemaFile(const std::string& path, SchemaFile& schema, std::string& error) {
  std::string text;
  if (!readWholeFile(path, kMostSchemaBytes, text, error)) return false;
  if (parseSchema(text, schema, error)) return true;
  error = (path == "-" ? "<stdin>" : path) + ": " + error;
  return false;
}

std::string nameInSchema(const std::string& name) { return Json::parse(quoted(name)).get<std::string>(); }

std::string schemaText(const SchemaFile& schema) {
  std::string out = "{\n  \"stream\": " + quoted(schema.stream) + ",\n  \"id\": " + std::to_string(schema.id);
  const auto add = [&](const char* key, const std::string& value) {
    out += ",\n  \"" + std::string(key) + "\": " + value;
  };
  if (!schema.key.empty()) add("key", keyText(schema.key));
  if (schema.rows) add("rows", std::to_string(*schema.rows));
  add("columns", columnsText(schema));
  const std::string formats = formatsText(schema.text);
  if (!formats.empty()) add("formats", formats);
  if (schema.text.separator) add("separator", quoted(std::string(1, *schema.text.separator)));
  if (schema.text.header) add("header", flagText(*schema.text.header));
  if (schema.text.quoted) add("quoted", flagText(*schema.text.quoted));
  return out + "\n}\n";
}

std::string schemaLine(const SchemaFile& schema) {
  return nlohmann::ordered_json::parse(schemaText(schema)).dump() + "\n";
}

}  // namespace kyv_internal
