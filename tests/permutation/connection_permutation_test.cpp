#include "kyv/connection_permutation.h"

#include <gmock/gmock.h>

#include "tests/permutation/open_permutation.h"
#include "tests/support/test_schema.h"

namespace {

using kyv_test::OpenPermutation;
using kyv_test::prepared;
using kyv_test::words;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

constexpr char kUntouched[] = "untouched";

std::string joined(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : " ") + name;
  return text;
}

// "3-5" for a pair that is to blame, "" for none.
std::string faultyPair(const ConnectionPermutation& permutation) {
  const auto extent = permutation.faultyPair();
  return extent ? std::to_string(extent->begin) + "-" + std::to_string(extent->end) : "";
}

TEST(PermutationText, GivesBothOrdersOrSaysWhatIsWrong) {
  const std::string misformatted = "Misformatted permutation string, ";
  const struct {
    const char* text;
    bool externalHasNames;
    std::string error;
    const char* platform;  // what is left after a failure, too
    const char* external;
    bool direct;
    const char* faultyPair;
  } kCases[] = {
      {"", true, kUntouched, "", "", true, ""},
      {"a=x:b=y", true, kUntouched, "a b", "x y", false, ""},
      {"a=x:b=y", false, kUntouched, "a b", "field_00 field_01", false, ""},
      {"a=x:", true, kUntouched, "a", "x", false, ""},
      {"a=b=c", true, kUntouched, "a", "b=c", false, ""},
      {"a==", true, kUntouched, "a", "=", false, ""},
      {" a= x", true, kUntouched, " a", " x", false, ""},
      {"a=x:A=X", true, kUntouched, "a A", "x X", false, ""},
      {"a=a:b=b", true, kUntouched, "a b", "a b", false, ""},
      {":a=x", true, misformatted + "missing '=' around text ':a=x'", "", "", true, "0-0"},
      {"a", true, misformatted + "missing '=' around text 'a'", "", "", true, "0-1"},
      {":", true, misformatted + "missing '=' around text ':'", "", "", true, "0-0"},
      {"a:b=x", true, misformatted + "missing '=' around text 'a:b=x'", "", "", true, "0-1"},
      {"a=x::b=y", true, misformatted + "missing '=' around text ':b=y'", "a", "x", false, "4-4"},
      {"a=x:b", true, misformatted + "missing '=' around text 'b'", "a", "x", false, "4-5"},
      {"=x:b=y", true, misformatted + "empty platform field name around text '=x:b=y'", "", "", true, "0-2"},
      {"=", true, misformatted + "empty platform field name around text '='", "", "", true, "0-1"},
      {"a=:b=y", true, misformatted + "empty external field name around text 'a=:b=y'", "", "", true, "0-2"},
      {"a=x:b=", true, misformatted + "empty external field name around text 'b='", "a", "x", false, "4-6"},
      {"a=x:a=y", true, misformatted + "platform field name 'a' used twice", "a", "x", false, "4-7"},
      {"a=x:b=x:c=z", true, misformatted + "external field name 'x' used twice", "a", "x", false, "4-7"},
      {"a=x:a=x", false, misformatted + "platform field name 'a' used twice", "a", "field_00", false, "4-7"},
  };
  OpenPermutation permutation;
  for (const auto& row : kCases) {
    std::string error = kUntouched;
    const bool good = permutation.setPermutation(row.externalHasNames, row.text, error);
    EXPECT_EQ(error, row.error) << row.text;
    EXPECT_EQ(good, row.error == kUntouched) << row.text;
    EXPECT_EQ(permutation.isFailed(), !good) << row.text;
    EXPECT_EQ(joined(permutation.platOrder), row.platform == std::string(" a") ? " a" : row.platform) << row.text;
    EXPECT_EQ(joined(permutation.extOrder), row.external) << row.text;
    EXPECT_EQ(permutation.isDirect(), row.direct) << row.text;
    EXPECT_EQ(faultyPair(permutation), row.faultyPair) << row.text;
    EXPECT_EQ(permutation.platToExtNames.size(), permutation.platOrder.size()) << row.text;
  }
}

TEST(PermutationText, KeepsItsPairsBothWays) {
  OpenPermutation permutation;
  std::string error;
  permutation.setPermutation(false, "b=y:a=x", error);
  EXPECT_THAT(permutation.platToExtNames, ElementsAre(Pair("a", "x"), Pair("b", "y")));
  EXPECT_THAT(permutation.extToPlatNames, ElementsAre(Pair("x", "a"), Pair("y", "b")));
}

TEST(PermutationOrders, AreCopiesOfListsSchemasAndCounts) {
  OpenPermutation permutation;
  kyv_test::TestSchema schema(kyv_test::columnsOf("long string"));
  const std::vector<std::string> names = words("p q r");
  permutation.setPlatOrder(names);
  permutation.setPlatOrder(permutation.platOrder);
  EXPECT_EQ(joined(permutation.platOrder), "p q r");
  permutation.setPlatOrder(&schema);
  EXPECT_EQ(joined(permutation.platOrder), "A B");
  permutation.setExternalOrder(names);
  permutation.setExternalOrder(permutation.extOrder);
  EXPECT_EQ(joined(permutation.externalOrder()), "p q r");
  permutation.setExternalOrder(&schema);
  EXPECT_EQ(joined(permutation.externalOrder()), "A B");
  permutation.setExternalOrder(&names);
  EXPECT_EQ(joined(permutation.externalOrder()), "p q r");
  permutation.setExternalOrder(static_cast<const std::vector<std::string>*>(nullptr));
  EXPECT_THAT(permutation.externalOrder(), IsEmpty());
  permutation.setExternalCount(3);
  EXPECT_EQ(joined(permutation.externalOrder()), "field_00 field_01 field_02");
  permutation.setExternalCount(101);
  EXPECT_EQ(permutation.externalOrder().back(), "field_100");
  permutation.setExternalCount(-1);
  EXPECT_THAT(permutation.externalOrder(), IsEmpty());
}

TEST(PermutationOrders, AreReplacedWithoutTouchingThePositions) {
  OpenPermutation permutation = prepared("a=x", "a b", "y x");
  permutation.setPlatOrder(words("b a"));
  int position = 7;
  EXPECT_TRUE(permutation.plat2ext(0, &position));
  EXPECT_EQ(position, 1);
  std::string error;
  EXPECT_TRUE(permutation.prepareOrder(false, error));
  EXPECT_FALSE(permutation.plat2ext(0, &position));
  EXPECT_TRUE(permutation.plat2ext(1, &position));
}

TEST(PrepareOrder, FindsPositionsOrSaysWhatIsWrong) {
  const std::string expected = "Misformatted external field name, expected field_N, got '";
  const std::string negative = "Misformatted external field name, in field_N must have N>=0, got '";
  const std::string holes =
      "Misformatted external field names, in field_N the N values must form a sequence without holes";
  const std::string unknown = "Misformatted permutation, ";
  const struct {
    const char* text;
    const char* platform;
    const char* external;  // empty: made from the text
    bool requireNoHoles;
    std::string error;
    const char* positions;      // of platform columns, and after ">" of external fields
    const char* externalAfter;  // the external order
    const char* faultyPair;
  } kCases[] = {
      {"a=x:b=y", "a b", "y x", false, kUntouched, "0:1 1:0 > 0:1 1:0", "y x", ""},
      {"b=y:a=x", "c a b", "y w x", true, kUntouched, "1:2 2:0 > 0:2 2:1", "y w x", ""},
      {"a=x", "a a", "x x", false, kUntouched, "0:0 > 0:0", "x x", ""},
      {"", "", "", false, "Connector internal error: Platform field order is not set", "> ", "", ""},
      {"a=x", "", "x", false, "Connector internal error: Platform field order is not set", "> ", "x", ""},
      {"", "a", "", false, kUntouched, "> ", "", ""},
      {"", "a", "", true, holes, "> ", "", ""},
      {"a=x", "b", "x", false, unknown + "platform field 'a' is unknown", "> ", "x", "0-3"},
      {"a=x:b=y", "a b", "x", false, unknown + "external field 'y' is unknown", "0:0 > 0:0", "x", "4-7"},
      {"b=y:a=x", "b", "x", false, unknown + "platform field 'a' is unknown", "> ", "x", "4-7"},
      // The highest field has no position.
      {"a=field_0:b=field_1:c=field_2", "a b c", "", true, unknown + "external field 'field_0' is unknown", "> ",
       "field_00 field_01", "0-9"},
      {"a=field_00:b=field_01:c=field_02", "a b c", "", true, unknown + "external field 'field_02' is unknown",
       "0:0 1:1 > 0:0 1:1", "field_00 field_01", "22-32"},
      {"a=field_00", "a", "", true, unknown + "external field 'field_00' is unknown", "> ", "", "0-10"},
      {"a=field_0:b=field_2", "a b", "", true, holes, "> ", "", ""},
      {"a=field_1", "a", "", true, holes, "> ", "", ""},
      {"a=x", "a", "", false, expected + "x'", "> ", "", "0-3"},
      {"a=field_", "a", "", false, expected + "field_'", "> ", "", "0-8"},
      {"a=Field_1", "a", "", false, expected + "Field_1'", "> ", "", "0-9"},
      {"a=field_1:b=field_-1", "a b", "", false, negative + "field_-1'", "> ", "", "10-20"},
      // What follows the number, and white space before it, does not count.
      {"a=field_ 1x", "a", "", false, unknown + "external field 'field_ 1x' is unknown", "> ", "field_00", "0-11"},
      {"a=field_1000001", "a", "", false, expected + "field_1000001'", "> ", "", "0-15"},
      {"a=field_2147483647", "a", "", false, expected + "field_2147483647'", "> ", "", "0-18"},
      // The external names are visited in the order of their bytes, so the first bad one is not that of the text.
      {"a=x:b=field_-1:c=w", "a b c", "", true, negative + "field_-1'", "> ", "", "4-14"},
  };
  for (const auto& row : kCases) {
    OpenPermutation permutation;
    std::string error = kUntouched;
    ASSERT_TRUE(permutation.setPermutation(true, row.text, error)) << row.text;
    permutation.setPlatOrder(words(row.platform));
    permutation.setExternalOrder(words(row.external));
    const bool good = permutation.prepareOrder(row.requireNoHoles, error);
    EXPECT_EQ(error, row.error) << row.text;
    EXPECT_EQ(good, row.error == kUntouched) << row.text;
    EXPECT_EQ(permutation.isFailed(), !good) << row.text;
    EXPECT_EQ(permutation.prepared, good) << row.text;
    EXPECT_EQ(joined(permutation.extOrder), row.externalAfter) << row.text;
    EXPECT_EQ(faultyPair(permutation), row.faultyPair) << row.text;
    std::string positions;
    for (const auto& [from, to] : permutation.platToExtIndex) {
      positions += std::to_string(from) + ":" + std::to_string(to) + " ";
    }
    positions += ">";
    for (const auto& [from, to] : permutation.extToPlatIndex) {
      positions += " " + std::to_string(from) + ":" + std::to_string(to);
    }
    EXPECT_EQ(positions, row.positions == std::string("> ") ? ">" : row.positions) << row.text;
  }
}

TEST(PrepareOrder, MakesOneNameTooFewForTheHighestField) {
  OpenPermutation permutation;
  std::string error;
  permutation.setPermutation(true, "a=field_1000000", error);
  permutation.setExternalCount(0);
  EXPECT_FALSE(permutation.prepareOrder(false, error));
  EXPECT_EQ(error, "Misformatted permutation, external field 'field_1000000' is unknown");
  EXPECT_EQ(permutation.extOrder.size(), 1'000'000);
}

// A failure stays until the next text.
TEST(PrepareOrder, DoesNotForgiveAnEarlierFailure) {
  OpenPermutation permutation;
  std::string error;
  permutation.setPermutation(true, "a=x:b", error);
  EXPECT_TRUE(permutation.prepareOrder(false, error));
  EXPECT_TRUE(permutation.isFailed());
  permutation.clear();
  EXPECT_FALSE(permutation.isFailed());
  EXPECT_TRUE(permutation.isDirect());
  EXPECT_FALSE(permutation.prepared);
  EXPECT_THAT(permutation.platToExtNames, IsEmpty());
  EXPECT_THAT(permutation.extToPlatNames, IsEmpty());
  EXPECT_THAT(permutation.platOrder, IsEmpty());
  EXPECT_THAT(permutation.extOrder, IsEmpty());
  EXPECT_THAT(permutation.platToExtIndex, IsEmpty());
  EXPECT_THAT(permutation.extToPlatIndex, IsEmpty());
}

// What the six lookups answer for a key, as one text: the result, "!" for false before it.
template <class Key>
std::string answer(bool good, const Key& key) {
  std::ostringstream text;
  text << (good ? "" : "!") << key;
  return text.str();
}

std::string lookUpName(const ConnectionPermutation& permutation, const std::string& name) {
  const char* text = nullptr;
  std::string copy;
  const std::string byText = answer(permutation.plat2ext(name.c_str(), &text), text);
  EXPECT_EQ(answer(permutation.plat2ext(name, copy), copy), byText);
  const std::string back = answer(permutation.ext2plat(name.c_str(), &text), text);
  EXPECT_EQ(answer(permutation.ext2plat(name, copy), copy), back);
  return byText + " " + back;
}

std::string lookUpPosition(const ConnectionPermutation& permutation, int position) {
  int out = -99;
  const std::string there = answer(permutation.plat2ext(position, &out), out);
  return there + " " + answer(permutation.ext2plat(position, &out), out);
}

TEST(PermutationLookups, GiveTheOtherSideOrTheArgument) {
  ConnectionPermutation permutation;
  std::string error;
  EXPECT_EQ(lookUpName(permutation, "a") + " " + lookUpPosition(permutation, -5), "a a -5 -5") << "direct";
  permutation.setPermutation(true, "a=x:b=y", error);
  EXPECT_EQ(lookUpName(permutation, "a"), "x !a") << "names need the text alone";
  EXPECT_EQ(lookUpName(permutation, "x"), "!x a");
  EXPECT_EQ(lookUpPosition(permutation, 0), "!0 !0") << "positions need prepareOrder";
  permutation.setExternalOrder(words("w y x"));
  EXPECT_TRUE(permutation.prepareOrder(false, error));
  EXPECT_EQ(lookUpPosition(permutation, 0), "2 !0");
  EXPECT_EQ(lookUpPosition(permutation, 2), "!2 0");
  permutation.setPermutation(true, "a=x:b=", error);
  EXPECT_EQ(lookUpName(permutation, "a") + " " + lookUpPosition(permutation, 0), "!a !a !0 !0") << "failed";
  permutation.setPermutation(true, "=", error);
  EXPECT_EQ(lookUpName(permutation, "a") + " " + lookUpPosition(permutation, 0), "a a 0 0") << "failed and direct";
}

TEST(PermutationLookups, GiveATextOfTheObjectOrTheArgumentItself) {
  ConnectionPermutation permutation;
  std::string error;
  permutation.setPermutation(true, "a=x", error);
  const char key[] = "a";
  const char* first = nullptr;
  const char* second = nullptr;
  permutation.plat2ext(key, &first);
  permutation.plat2ext("a", &second);
  EXPECT_EQ(first, second);
  permutation.ext2plat(key, &first);
  EXPECT_EQ(first, key);
}

// Looking for each name in the whole order would take minutes.
TEST(PrepareOrder, IsQuickWithManyPairs) {
  std::string text;
  for (int i = 0; i < 100'000; ++i) {
    text += "p" + std::to_string(i) + "=e" + std::to_string(i) + ":";
  }
  ConnectionPermutation permutation;
  std::string error;
  EXPECT_TRUE(permutation.setPermutation(true, text.c_str(), error));
  EXPECT_TRUE(permutation.prepareOrder(false, error));
  EXPECT_EQ(lookUpPosition(permutation, 99'999), "99999 99999");
}

}  // namespace
