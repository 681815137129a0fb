#include <gtest/gtest.h>

#include <memory>

#include "tests/permutation/open_permutation.h"
#include "tests/permutation/plain_permutation.h"

namespace {

using kyv_test::OpenPermutation;
using kyv_test::prepared;

// What a line becomes, "!" before it when it fails, in a buffer of exactly the size that the caller must provide, from
// memory of exactly the line's size. The appended form must agree.
std::string permuted(const OpenPermutation& permutation, const std::string& line, char separator, bool withService) {
  const auto text = std::make_unique<char[]>(line.size() + 1);
  std::copy_n(line.c_str(), line.size() + 1, text.get());
  const auto out = std::make_unique<char[]>(line.size() + permutation.platOrder.size() + 1);
  const bool good = permutation.permuteCsvIn(text.get(), separator, withService, out.get());

  const std::vector<char> bytes(line.begin(), line.end());
  kyv::ByteBuffer appended;
  appended.append("before");
  EXPECT_EQ(permutation.appendCsvIn({bytes.data(), bytes.size()}, separator, withService, appended), good) << line;
  EXPECT_EQ(appended.view(), good ? "before" + std::string(out.get()) : "before") << line;
  return (good ? "" : "!") + std::string(out.get());
}

TEST(PermuteCsvIn, PutsFieldsInPlatformOrder) {
  const struct {
    const char* pairs;
    const char* platform;
    const char* external;
    const char* line;
    bool withService;
    const char* out;
  } kCases[] = {
      {"a=x:b=y:c=z", "a b c", "z x y", "1;2;3", false, "2;3;1"},
      {"a=x:b=y:c=z", "a b c", "z x y", "S;i;1;2;3", true, "S;i;2;3;1"},
      {"a=x:b=y", "a b", "x y", ";", false, ";"},
      {"a=x:b=y", "a b", "y x", "'1;2'", false, "2';'1"},
      {"a=x", "a", "x", "", false, ""},
      {"a=x", "a", "x", "1;2;3", false, "1"},
      {"a=x", "a", "x", "S;i;", true, "S;i;"},
      {"a=x", "a b c", "x", "1", false, "1;;"},
      {"b=x", "a b c", "x", "S;i;1", true, "S;i;;1;"},
      // What a failure leaves behind.
      {"a=x:b=y:c=z", "a b c", "z x y", "1;2", false, "!2"},
      {"a=x:b=y:c=z", "a b c", "z x y", "S;i;1", true, "!S;i"},
      {"a=x:b=y", "a b", "y x", "", false, "!"},
      {"a=x", "a", "x", "S;i", true, "!"},
      {"a=x", "a", "x", "S", true, "!"},
      {"a=x", "a", "x", "", true, "!"},
  };
  for (const auto& row : kCases) {
    const OpenPermutation permutation = prepared(row.pairs, row.platform, row.external);
    EXPECT_EQ(permuted(permutation, row.line, ';', row.withService), row.out) << row.line;
  }
}

TEST(PermuteCsvIn, WritesOneEmptyFieldTooManyWhenTheFirstColumnHasNoPair) {
  const OpenPermutation permutation = prepared("b=x", "a b", "x");
  EXPECT_EQ(permuted(permutation, "X", ',', false), ",,X");
  EXPECT_EQ(permuted(permutation, "I,F,X", ',', true), "I,F,,X");
}

TEST(PermuteCsvIn, CopiesLinesWhenDirectAndNoneWhenFailed) {
  OpenPermutation permutation;
  std::string error;
  EXPECT_EQ(permuted(permutation, "1,2", ',', true), "1,2");
  permutation.setPermutation(true, "a=x:b", error);
  EXPECT_EQ(permuted(permutation, "1,2,3", ',', true), "!");
  permutation.setPermutation(true, "=x", error);
  EXPECT_EQ(permuted(permutation, "1,2", ',', true), "1,2") << "failed before its first pair, so still direct";
}

TEST(PermuteCsvIn, FindsNothingBeforeOrdersArePrepared) {
  OpenPermutation permutation;
  std::string error;
  permutation.setPermutation(true, "a=x:b=y", error);
  EXPECT_EQ(permuted(permutation, "1,2", ',', false), ",,");
  EXPECT_TRUE(permutation.prepareOrder(false, error));
  permutation.setPlatOrder({"a", "b", "c"});
  EXPECT_EQ(permuted(permutation, "1,2", ',', false), "1,2,") << "a longer order since";
}

TEST(PermuteCsvIn, TakesNulForASeparatorThatNoLineHas) {
  const OpenPermutation permutation = prepared("a=x", "a", "x");
  EXPECT_EQ(permuted(permutation, "1,2", '\0', false), "1,2");
  EXPECT_EQ(permuted(permutation, "1,2", '\0', true), "!");
}

TEST(PermuteCsvIn, TakesAtMost999DataFields) {
  std::string pairs;
  std::string externalOrder;
  std::string line;
  std::string reversed;
  for (int i = 0; i < 999; ++i) {
    const std::string number = std::to_string(i);
    pairs += (i > 0 ? ":" : "") + number + "=" + number;
    externalOrder = (number + " ").append(externalOrder);
    line += (i > 0 ? "," : "") + number;
    reversed = number + (i > 0 ? "," : "") + reversed;
  }
  OpenPermutation permutation;
  std::string error;
  permutation.setPermutation(true, pairs.c_str(), error);
  permutation.setExternalOrder(kyv_test::words(externalOrder));
  ASSERT_TRUE(permutation.prepareOrder(false, error));
  EXPECT_EQ(permuted(permutation, line, ',', false), reversed);
  EXPECT_EQ(permuted(permutation, line + ",", ',', false), "!");
  EXPECT_EQ(permuted(permutation, "S,i," + line, ',', true), "S,i," + reversed);
  EXPECT_EQ(permuted(permutation, "S,i," + line + ",", ',', true), "!S,i");
}

// Fields end on either side of every boundary that a search in blocks may have.
TEST(PermuteCsvIn, AgreesWithAPlainLoopForLinesOfEveryLength) {
  const OpenPermutation permutation = prepared("a=x:b=y:d=z", "a b c d", "z x y");
  const std::vector<int> order = {1, 2, -1, 0};
  for (std::size_t size = 0; size < 200; ++size) {
    for (std::size_t first = 0; first < size; first += 1 + first / 8) {
      std::string line;
      for (std::size_t i = 0; i < size; ++i) line += static_cast<char>('a' + i % 26);
      line[first] = ',';
      line[(first * 7 + size) % size] = ',';
      const kyv_test::PlainLine expected = kyv_test::permutePlainly(order, kyv_test::splitAt(',', line), ',');
      EXPECT_EQ(permuted(permutation, line, ',', false), (expected.good ? "" : "!") + expected.line) << line;
    }
  }
}

}  // namespace
