#include "schema_file.h"

#include <gtest/gtest.h>

#include <string>

#include "kyv/data_types.h"

namespace kyv_internal {
namespace {

constexpr char kFull[] =
    "{\n"
    "  \"stream\": \"Trades \\\"x\\\"\",\n"
    "  \"id\": -7,\n"
    "  \"key\": [\"Id\"],\n"
    "  \"rows\": 12,\n"
    "  \"columns\": [\n"
    "    {\"name\": \"Id\", \"type\": \"long\", \"nulls\": 0},\n"
    "    {\"name\": \"Caf\xC3\xA9\", \"type\": \"decimal(10,2)\"},\n"
    "    {\"name\": \"c\", \"type\": \"money(3)\", \"nulls\": 4}\n"
    "  ],\n"
    "  \"formats\": {\"date\": \"%d.%m.%Y\", \"timestamp\": \"%s\", \"time\": \"%H\"},\n"
    "  \"separator\": \"\\t\",\n"
    "  \"header\": true,\n"
    "  \"quoted\": false\n"
    "}\n";

TEST(SchemaFile, WritesWhatItReads) {
  SchemaFile schema;
  std::string error;
  ASSERT_TRUE(parseSchema(kFull, schema, error)) << error;
  EXPECT_EQ(schemaText(schema), kFull);
  EXPECT_EQ(schema.columns[1].type, DataTypes::createFixedDecimal(10, 2));
  EXPECT_EQ(schema.schema().getStreamId(), -7);
}

TEST(SchemaFile, NeedsStreamAndColumnsOnly) {
  SchemaFile schema;
  std::string error;
  ASSERT_TRUE(parseSchema(R"({"stream":"s","columns":[{"name":"a","type":"int32"}]})", schema, error)) << error;
  EXPECT_EQ(schema.id, 0);
  EXPECT_FALSE(schema.text.separator || schema.text.header || schema.text.quoted || schema.text.dateFormat);
}

TEST(SchemaFile, ReplacesNamesThatAreNotUtf8) {
  EXPECT_EQ(nameInSchema("Gr\xC3\xB6\xC3\x9F"
                         "e\xFF\"\\"),
            "Gr\xC3\xB6\xC3\x9F"
            "e\xEF\xBF\xBD\"\\");
  SchemaFile schema;
  schema.stream = "s\xFF";
  EXPECT_EQ(schemaText(schema).substr(0, 23), "{\n  \"stream\": \"s\xEF\xBF\xBD\",\n ");
}

// The schema around a text in the place of one of its members.
std::string with(const std::string& members) {
  return R"({"stream":"s","columns":[{"name":"a","type":"long"}])" + (members.empty() ? "" : "," + members) + "}";
}

std::string withColumn(const std::string& column) { return R"({"stream":"s","columns":[)" + column + "]}"; }

TEST(SchemaFile, SaysWhatIsWrongAndWhere) {
  const std::string deep(100000, '[');
  const struct {
    std::string text;
    std::string error;
  } kCases[] = {
      {"",
       "not valid JSON: line 1, column 1: syntax error while parsing value - unexpected end of input; expected '[', "
       "'{', or a literal"},
      {"{\"stream\": \"s\",\n \"id\" 1}",
       "not valid JSON: line 2, column 7: syntax error while parsing object separator - unexpected number literal; "
       "expected ':'"},
      {"[]", R"(a schema is a JSON object, {"stream": ..., "columns": [...]})"},
      {"{}", "\"stream\" is missing in the schema"},
      {R"({"stream":"s"})", "\"columns\" is missing in the schema"},
      {R"({"stream":7})", "\"stream\" of the schema must be a text"},
      {R"({"stream":""})", "\"stream\" of the schema is empty"},
      {R"({"stream":"a\u0000b"})", "\"stream\" of the schema holds a NUL"},
      {with(R"("seperator":";")"),
       "unknown key \"seperator\" in the schema (known: stream, id, key, columns, formats, separator, header, quoted, "
       "rows)"},
      {with(R"("id":2147483648)"), "\"id\" must be a whole number of 32 bits"},
      {with(R"("id":-2147483649)"), "\"id\" must be a whole number of 32 bits"},
      {with(R"("id":18446744073709551615)"), "\"id\" must be a whole number of 32 bits"},
      {with(R"("id":1.5)"), "\"id\" must be a whole number of 32 bits"},
      {with(R"("key":"a")"), "\"key\" must be a list of column names"},
      {with(R"("key":[1])"), "\"key\" must be a list of column names"},
      {with(R"("key":["a","b"])"), "\"key\" names no column: \"b\""},
      {with(R"("header":1)"), "\"header\" must be true or false"},
      {with(R"("quoted":"yes")"), "\"quoted\" must be true or false"},
      {with(R"("rows":-1)"), "\"rows\" of the schema must be a count"},
      {with(R"("separator":"ab")"), "\"separator\" must be one ASCII character"},
      {with(R"("separator":"ä")"), "\"separator\" must be one ASCII character"},
      {with(R"("separator":9)"), "\"separator\" must be one ASCII character"},
      {with(R"("separator":"\"")"), "\"separator\" cannot be a quote, a line end or NUL"},
      {with(R"("separator":"\u0000")"), "\"separator\" cannot be a quote, a line end or NUL"},
      {with(R"("formats":[])"), R"("formats" must be an object, {"date": "%Y-%m-%d"})"},
      {with(R"("formats":{"day":"x"})"), "unknown key \"day\" in \"formats\" (known: date, timestamp, time, date_model, timestamp_model, time_model)"},
      {with(R"("formats":{"date":""})"), "\"date\" of \"formats\" is empty"},
      {R"({"stream":"s","columns":{}})", "\"columns\" must be a list of at least one column"},
      {R"({"stream":"s","columns":[]})", "\"columns\" must be a list of at least one column"},
      {withColumn("1"), R"(column 1 must be an object, {"name": ..., "type": ...})"},
      {withColumn("{}"), "\"name\" is missing in column 1"},
      {withColumn(R"({"name":"a"})"), "\"type\" is missing in column 1 (\"a\")"},
      {withColumn(R"({"name":"a","type":"long","null":1})"),
       "unknown key \"null\" in column 1 (known: name, type, nulls)"},
      {withColumn(R"({"name":"a","type":"long","nulls":"x"})"), "\"nulls\" of column 1 (\"a\") must be a count"},
      {withColumn(R"({"name":"a","type":"long"},{"name":"a","type":"long"})"),
       "column 2 (\"a\") has the name of an earlier column"},
      {deep, ""},
  };
  for (const auto& row : kCases) {
    SchemaFile schema;
    std::string error;
    EXPECT_FALSE(parseSchema(row.text, schema, error)) << row.text;
    EXPECT_EQ(error.substr(0, row.error.size()), row.error) << row.text.substr(0, 100);
  }
}

TEST(SchemaFile, KnowsTypesByTheirNamesOnly) {
  for (const char* type : {"boolean", "int16", "integer", "int64", "double", "money", "money(15)", "decimal(34,34)",
                           "decimal(10)", "interval", "time", "bigdatetime", "binary"}) {
    SchemaFile schema;
    std::string error;
    const std::string text = withColumn(R"({"name":"a","type":")" + std::string(type) + "\"}");
    EXPECT_TRUE(parseSchema(text, schema, error)) << error;
  }
  for (const char* type : {"Long", "N/A", "UNKNOWN", "money(16)", "decimal", "decimal(0,0)", "decimal(3,5)",
                           "decimal(35,2)", "decimal(10,2)x", "xdecimal(10,2)", "decimal(10,-1)"}) {
    SchemaFile schema;
    std::string error;
    const std::string text = withColumn(R"({"name":"a","type":")" + std::string(type) + "\"}");
    EXPECT_FALSE(parseSchema(text, schema, error)) << type;
    EXPECT_EQ(error, "type \"" + std::string(type) +
                         "\" of column 1 (\"a\") is unknown (known: boolean, int16, integer, long, float, money, "
                         "money(1) to money(15), decimal(p,s), interval, date, time, timestamp, bigdatetime, string, "
                         "binary)");
  }
}

}  // namespace
}  // namespace kyv_internal
