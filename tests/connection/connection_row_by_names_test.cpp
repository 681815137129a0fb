// Fields by name become the record that the same fields by position become.

#include "kyv/connection_row_by_names.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "connection/named_fields.h"
#include "kyv/connection_row_by_order.h"
#include "kyv/data_types.h"
#include "kyv/stream_schema.h"
#include "row2/row2_layout.h"
#include "services/c_string_hash.h"

namespace {

using Pairs = std::vector<std::pair<const char*, const char*>>;
using Texts = std::vector<const char*>;  // null for a NULL column

kyv::StreamSchema& schema() {
  static kyv::StreamSchema stream(
      "Books", 9,
      {{"a", DataTypes::kLong}, {"b", DataTypes::kString}, {"c", DataTypes::kMoney2}, {"d", DataTypes::kDate}});
  return stream;
}

// A record's bytes; the message when there is none.
std::string outcome(ConnectionRow& row) {
  ConnectionErrors errors;
  const std::unique_ptr<void, decltype(&std::free)> record(row.toRow(3, &errors), &std::free);
  if (record == nullptr) return errors.report();
  return {static_cast<const char*>(record.get()), static_cast<std::size_t>(kyv_internal::load<int>(record.get()))};
}

std::string byNames(const Pairs& fields) {
  ConnectionRowByNames row;
  row.setStreamType(&schema(), false);
  for (const auto& [name, value] : fields) row.setFieldAsString(name, value);
  return outcome(row);
}

std::string byOrder(const Texts& fields, char op = 'p', const char* flags = nullptr) {
  ConnectionRowByOrder row;
  row.setStreamType(&schema(), false);
  for (const char* text : fields) row.appendFieldAsString(text);
  row.setOp(op);
  row.setFlagsAsString(flags);
  return outcome(row);
}

TEST(NamedRow, GivesTheRecordOfTheSameFieldsInOrder) {
  const Texts all = {"1", "two", "3.5", "2009-02-13 23:31:30"};
  const struct {
    const char* what;
    Pairs named;
    std::string ordered;
  } rows[] = {
      {"any order", {{"d", all[3]}, {"b", all[1]}, {"a", all[0]}, {"c", all[2]}}, byOrder(all)},
      {"missing fields are NULL", {{"a", "1"}, {"b", "two"}}, byOrder({"1", "two", nullptr, nullptr})},
      {"no fields", {}, byOrder({nullptr, nullptr, nullptr, nullptr})},
      {"the second text of a name", {{"a", "x"}, {"a", "1"}}, byOrder({"1", nullptr, nullptr, nullptr})},
      {"unknown names are ignored", {{"zz", "?"}, {"A", "?"}, {"a", "1"}}, byOrder({"1", nullptr, nullptr, nullptr})},
      {"an empty text", {{"b", ""}}, byOrder({nullptr, "", nullptr, nullptr})},
      {"only the operation's first letter counts",
       {{"KYV_OPS", "delete"}},
       byOrder({nullptr, nullptr, nullptr, nullptr}, 'd')},
      {"flags", {{"KYV_FLAGS", "sx"}}, byOrder({nullptr, nullptr, nullptr, nullptr}, 'p', "s")},
      {"empty flags are none", {{"KYV_FLAGS", ""}}, byOrder({nullptr, nullptr, nullptr, nullptr})},
      {"unknown operation", {{"KYV_OPS", "x"}}, "record 3: unknown operation 'x', not i/u/d/p"},
      {"empty operation", {{"KYV_OPS", ""}}, "record 3: unknown operation '?', not i/u/d/p"},
      {"unknown flag", {{"KYV_FLAGS", "x"}}, "record 3: unknown flag 'x', only \"s\"(shine through) supported"},
      {"a bad text",
       {{"a", "1x"}},
       "record 3: Error converting data '1x'->LONG for Stream 'Books' Column 'a': "
       "long constant does not end with a legal character"},
  };
  for (const auto& row : rows) EXPECT_EQ(byNames(row.named), row.ordered) << row.what;
  ConnectionRowByNames homeless;
  EXPECT_EQ(outcome(homeless), "record 3: no stream specified");
}

TEST(NamedRow, KeepsItsFieldsUntilTheyAreCleared) {
  ConnectionRowByNames row;
  row.setStreamType(&schema(), false);
  const char* first = nullptr;
  row.setFieldAsString("a", std::string("1"));
  ASSERT_TRUE(row.getFieldAsString("a", &first));
  row.setFieldAsString("a", "2");
  EXPECT_STREQ(first, "1") << "a replaced text stays";
  std::string text;
  EXPECT_TRUE(row.getFieldAsString("a", text));
  EXPECT_EQ(text, "2");
  row.clearData();
  EXPECT_FALSE(row.getFieldAsString("a", text));
  EXPECT_EQ(text, "");
  EXPECT_FALSE(row.getFieldAsString("a", &first));
  EXPECT_EQ(first, nullptr);
}

TEST(NamedRow, ConvertsFromFieldsOnly) {
  ConnectionRowByNames row;
  ConnectionErrors errors;
  char record[24] = {};
  EXPECT_FALSE(row.fromRow(record, 1, &errors));
  EXPECT_EQ(errors.report(), "Conversion from raw rows to this subtype of ConnectionRow is not implemented.");
}

TEST(NamedRow, MakesNewRowsWithItsSettings) {
  ConnectionRowByNames row;
  row.setStreamType(&schema(), false);
  row.setDateFormat("%d.%m.%Y");
  const std::unique_ptr<ConnectionRow> other(row.createNew());
  other->setFieldAsString("d", "13.02.2009");
  EXPECT_EQ(outcome(*other), byOrder({nullptr, nullptr, nullptr, "2009-02-13 00:00:00"}));
}

TEST(NamedFields, HashTakesBytesAsSignedCharacters) {
  EXPECT_EQ(kyv_internal::cStringHash("ab"), 5U * 'a' + 'b');
  EXPECT_EQ(kyv_internal::cStringHash("a\xFF"), 5U * 'a' - 1);
}

TEST(NamedFields, FindsEachOfManyNames) {
  kyv_internal::NamedFields fields;
  for (int round = 0; round < 2; ++round) {
    for (int i = 0; i < 1000; ++i)
      fields.set("name\xE9" + std::to_string(i), std::string(static_cast<std::size_t>(i), 'x'));
    for (int i = 0; i < 1000; ++i) {
      const auto* const found = fields.find("name\xE9" + std::to_string(i));
      ASSERT_NE(found, nullptr) << i;
      ASSERT_EQ(found->size, static_cast<std::size_t>(i));
      ASSERT_EQ(std::strlen(found->data), found->size);
    }
    EXPECT_EQ(fields.find("name\xE9"
                          "1000"),
              nullptr);
    fields.clear();
    EXPECT_EQ(fields.find("name\xE9"
                          "1"),
              nullptr);
  }
}

}  // namespace
