// Fields by name become the record that the same fields by position become.

#include "kyv/connection_row_by_names.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "connection/named_fields.h"
#include "kyv/connection_row_by_order.h"
#include "kyv/data_types.h"
#include "kyv/stream_schema.h"
#include "row2/row2_layout.h"
#include "services/c_string_hash.h"
#include "tests/support/test_schema.h"

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

// The schema's names are asked for anew with each row, and a schema may be exchanged.
TEST(NamedRow, FollowsItsSchemasNames) {
  kyv_test::TestSchema changing(kyv_test::columnsOf("string string"));
  kyv::StreamSchema forwards("Trades", 5, {{"A", DataTypes::kString}, {"B", DataTypes::kString}});
  kyv::StreamSchema backwards("Trades", 5, {{"B", DataTypes::kString}, {"A", DataTypes::kString}});
  ConnectionRowByNames row;
  row.setFieldAsString("B", "b");
  const auto outcomeOf = [&row](ConnectionRowType& type) {
    row.setStreamType(&type, false);
    return outcome(row);
  };
  const std::string onlyB = outcomeOf(forwards);
  row.setFieldAsString("A", "a");
  const std::string ab = outcomeOf(forwards), ba = outcomeOf(backwards);
  EXPECT_EQ(ab.substr(ab.size() - 4), std::string("a\0b\0", 4));
  EXPECT_EQ(ba.substr(ba.size() - 4), std::string("b\0a\0", 4));
  EXPECT_EQ(outcomeOf(changing), ab);
  std::swap(changing.columns[0].name, changing.columns[1].name);
  EXPECT_EQ(outcome(row), ba);
  changing.columns[1].name = "C";
  EXPECT_EQ(outcome(row).size(), onlyB.size());
  changing.columns[1].name = "A";
  EXPECT_EQ(outcome(row), ba);
  changing.columns[1].name = "B";
  const std::string bb = outcome(row);
  EXPECT_EQ(bb.substr(bb.size() - 4), std::string("b\0b\0", 4)) << "two columns of one name";
  row.clearData();
  row.setFieldAsString("B", "b");
  EXPECT_EQ(outcomeOf(forwards), onlyB);
}

// A reserved name may be a column's too: its text is the operation or flags and the column's value.
TEST(NamedRow, ReservedNamesMayBeColumns) {
  kyv::StreamSchema reserved("Books", 9, {{"KYV_FLAGS", DataTypes::kString}, {"KYV_OPS", DataTypes::kString}});
  ConnectionRowByNames row;
  row.setStreamType(&reserved, false);
  row.setFieldAsString("KYV_OPS", "U");
  row.setFieldAsString("KYV_FLAGS", "s");
  const std::string record = outcome(row);
  EXPECT_EQ(kyv_internal::load<int>(record.data() + kyv_internal::kOpcodeOffset), StreamInterface::Update);
  EXPECT_EQ(kyv_internal::load<unsigned int>(record.data() + kyv_internal::kFlagsOffset) & 1, 1U);
  EXPECT_EQ(record.substr(record.size() - 4), std::string("s\0U\0", 4));
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
  std::string text;
  std::size_t expected = 0;
  for (const char c : {'a', '\x80', 'b', '\xFF', '\x7F', '\xFE', 'z', '\x81', ' ', '\xC3'}) {
    text += c;
    expected = 5 * expected + static_cast<std::size_t>(static_cast<signed char>(c));
    EXPECT_EQ(kyv_internal::cStringHash(text), expected) << text.size() << " bytes";
  }
}

// The text of a name, "none" without one.
std::string textOf(const kyv_internal::NamedFields& fields, const std::string& name) {
  const kyv_internal::RowField& field = fields.text(fields.slotOf(name));
  if (field.data == nullptr) return "none";
  EXPECT_EQ(std::strlen(field.data), field.size) << name;
  return field.data;
}

std::string manyNames(int i) { return "name\xE9" + std::to_string(i); }

// Names of one hash: each "b\x03" may be a "a\x08".
std::string collidingNames(int i) {
  std::string name;
  for (int bit = 0; bit < 12; ++bit) name += (i >> bit & 1) != 0 ? "b\x03" : "a\x08";
  return name;
}

TEST(NamedFields, FindsEachOfManyNames) {
  constexpr int kNames = 4000;
  ASSERT_EQ(kyv_internal::cStringHash(collidingNames(0)), kyv_internal::cStringHash(collidingNames(kNames)));
  for (std::string (*const nameOf)(int) : {manyNames, collidingNames}) {
    kyv_internal::NamedFields fields;
    for (int round = 0; round < 3; ++round) {
      for (int i = 0; i < kNames; ++i) fields.set(nameOf(i).c_str(), std::to_string(i));
      for (int i = 0; i < kNames; ++i) ASSERT_EQ(textOf(fields, nameOf(i)), std::to_string(i)) << round;
      EXPECT_EQ(textOf(fields, nameOf(kNames)), "none");
      fields.clear();
      EXPECT_EQ(textOf(fields, nameOf(1)), "none");
    }
  }
}

// Rows whose names come in other orders, come again, come no more, or are many and then few.
TEST(NamedFields, HoldWhatWasSetLastInWhateverOrder) {
  kyv_internal::NamedFields fields;
  std::mt19937 random(7);
  for (int row = 0; row < 300; ++row) {
    std::map<std::string, std::string> expected;
    const unsigned int kinds = row % 50 == 0 ? 1000 : 20;
    for (unsigned int i = 0; i < kinds; ++i) {
      const std::string name = std::to_string(random() % kinds);
      const std::string text = std::to_string(random());
      fields.set(name.c_str(), text);
      expected[name] = text;
    }
    for (unsigned int i = 0; i < kinds; ++i) {
      const std::string name = std::to_string(i);
      ASSERT_EQ(textOf(fields, name), expected.contains(name) ? expected[name] : "none") << "row " << row;
    }
    EXPECT_EQ(textOf(fields, ""), "none");
    fields.clear();
  }
}

TEST(NamedFields, ForgetNamesThatComeNoMore) {
  kyv_internal::NamedFields fields;
  for (int row = 0; row < 50; ++row) {
    for (int i = 0; i < 10; ++i) fields.set(manyNames(10 * row + i).c_str(), "x");
    fields.clear();
  }
  EXPECT_EQ(fields.slotOf(manyNames(0)), kyv_internal::NamedFields::kNone);
}

TEST(TextStore, KeepsTextsWhereTheyAreUntilItIsCleared) {
  kyv_internal::TextStore store;
  for (int round = 0; round < 3; ++round) {
    std::vector<std::pair<std::string, std::string_view>> kept;
    for (const std::size_t size : {0, 1, 4094, 4096, 70000, 3, 200000, 65536, 0}) {
      const std::string text(size, static_cast<char>('a' + kept.size()));
      kept.emplace_back(text, store.keep(text));
    }
    for (const auto& [text, copy] : kept) {
      ASSERT_EQ(copy, text);
      ASSERT_EQ(*copy.end(), 0);
    }
    store.clear();
    EXPECT_EQ(store.bytes(), 0U);
  }
}

}  // namespace
