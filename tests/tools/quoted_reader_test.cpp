#include "quoted_reader.h"

#include <gtest/gtest.h>

#include <cctype>
#include <string>

#include "byte_search.h"

namespace kyv_internal {
namespace {

// Each record's fields in brackets, quoted ones with a star, then "!" and the fault where there is one, "/" between
// records.
std::string readAll(std::string_view text, char separator = ',') {
  QuotedReader reader(separator);
  std::string out;
  while (!text.empty()) {
    const QuotedRecord record = reader.read(text);
    for (const QuotedField& field : reader.fields()) {
      out += (field.quoted ? "*[" : "[") + std::string(field.text) + "]";
      EXPECT_LE(field.begin, field.end);
      EXPECT_LE(field.end, record.size);
    }
    if (record.fault == QuotedFault::kUnclosed) out += "!unclosed " + std::to_string(record.faultyField);
    if (record.fault == QuotedFault::kTextAfterQuote) out += "!after " + std::to_string(record.faultyField);
    text.remove_prefix(record.size);
    out += text.empty() ? "" : "/";
  }
  return out;
}

TEST(QuotedReader, ReadsFieldsAsRfc4180HasThem) {
  const struct {
    const char* text;
    const char* fields;
  } kCases[] = {
      {"a,b\n", "[a][b]"},
      {"a,b", "[a][b]"},
      {"a,b\r\n1,2\r\n", "[a][b]/[1][2]"},
      {"a\r", "[a]"},
      {"a\rb\n", "[a\rb]"},
      {"\n", "[]"},
      {",\n", "[][]"},
      {"a,", "[a][]"},
      {"\"a,b\",c\n", "*[a,b][c]"},
      {"\"a\nb\"\nc", "*[a\nb]/[c]"},
      {"\"a\r\nb\"\r\nc", "*[a\r\nb]/[c]"},
      {"\"say \"\"hi\"\"\"\n", "*[say \"hi\"]"},
      {"\"\"\"\",\"\"\"\"\"\"\n", "*[\"]*[\"\"]"},
      {"\"\",x,\"\"", "*[][x]*[]"},
      {"5\" pipe,\"x\"\n", "[5\" pipe]*[x]"},
      {"a \"b\",c\n", "[a \"b\"][c]"},
      {" \"a\",b\n", "[ \"a\"][b]"},
      {"'a,b'\n", "['a][b']"},
      {"\"a\"x,b\nc\n", "*[a][b]!after 0/[c]"},
      {"a,\"b\" ,c\n", "[a]*[b][c]!after 1"},
      {"\"a\"\rx\n", "*[a]!after 0"},
      {"\"a\"x,\"b,c\"\n", "*[a]*[b,c]!after 0"},
      {"a,\"b\nc,d\n", "[a]*[b\nc,d\n]!unclosed 1"},
      {"\"", "*[]!unclosed 0"},
      {"\"a\"\"", "*[a\"]!unclosed 0"},
  };
  for (const auto& row : kCases) EXPECT_EQ(readAll(row.text), row.fields) << row.text;
  EXPECT_EQ(readAll("a,b|\"c|d\"\n", '|'), "[a,b]*[c|d]");
}

TEST(QuotedReader, CountsTheLinesOfARecord) {
  QuotedReader reader(',');
  EXPECT_EQ(reader.read("\"a\nb\n\",\"\n\"\nc\n").lineFeeds, 4U);
  EXPECT_EQ(reader.read("a").lineFeeds, 0U);
}

TEST(QuotedReader, KeepsNoMoreFieldsThanARowCanHave) {
  QuotedReader reader(',');
  const std::string commas(kMostFields, ',');
  const QuotedRecord record = reader.read(commas + "\nnext\n");
  EXPECT_EQ(record.fault, QuotedFault::kTooManyFields);
  EXPECT_EQ(reader.fields().size(), kMostFields);
  EXPECT_EQ(record.size, commas.size() + 1);
}

TEST(ByteSearch, FindsTheFirstOfTwoBytesAtEveryPlace) {
  const std::string filler = "\xFF\x01 zz\x80\x7F{}[]+-;;;;....";
  for (std::size_t size = 0; size < filler.size(); ++size) {
    for (std::size_t from = 0; from <= size; ++from) {
      std::string text = filler.substr(0, size);
      EXPECT_EQ(findEither(text, from, ',', '\n'), size);
      for (std::size_t at = from; at < size; ++at) {
        text = filler.substr(0, size);
        text[at] = at % 2 == 0 ? ',' : '\n';
        text.back() = at + 1 == size ? text.back() : ',';
        EXPECT_EQ(findEither(text, from, ',', '\n'), at) << text << " from " << from;
      }
    }
  }
}

}  // namespace
}  // namespace kyv_internal
