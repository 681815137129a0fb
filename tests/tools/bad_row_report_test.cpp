#include "bad_row_report.h"

#include <gtest/gtest.h>

#include <string>

namespace kyv_internal {
namespace {

std::string report(const std::string& row, std::size_t begin, std::size_t end, const char* column = "c") {
  BadRowReport report;
  report.file = "f";
  report.line = 3;
  report.column = column;
  report.message = "bad";
  report.row = row;
  report.fieldBegin = begin;
  report.fieldEnd = end;
  return reportText(report);
}

TEST(BadRowReport, PutsACaretUnderTheField) {
  const std::string head = "f:3: column \"c\": bad\n";
  EXPECT_EQ(report("7,abc,2\n", 2, 5), head + "    7,abc,2\n      ^~~\n");
  EXPECT_EQ(report("7,,2\r\n", 2, 2), head + "    7,,2\n      ^\n");
  EXPECT_EQ(report("7,ab", 2, 4), head + "    7,ab\n      ^~\n");
  EXPECT_EQ(report("7,2\n", 0, 0, ""), "f:3: bad\n    7,2\n");
}

TEST(BadRowReport, CountsCharactersAndShowsNoControlCodes) {
  EXPECT_EQ(report("\xC3\xA4\xC3\xB6,x\xC3\xBC\n", 5, 8),
            "f:3: column \"c\": bad\n    \xC3\xA4\xC3\xB6,x\xC3\xBC\n       ^~\n");
  EXPECT_EQ(report("a\tb\x1B[2J\x7F,x\n", 9, 10), "f:3: column \"c\": bad\n    a b?[2J?,x\n             ^\n");
}

TEST(BadRowReport, ShowsTheLineOfTheFieldAndThePartAroundIt) {
  EXPECT_EQ(report("\"a\nb\",x,\"c\nd\"\n", 6, 7), "f:3: column \"c\": bad\n    b\",x,\"c\n       ^\n");

  const std::string long_ = std::string(100, 'a') + "," + std::string(100, 'x') + "," + std::string(100, 'b');
  const std::string shown = report(long_, 101, 201);
  EXPECT_EQ(shown, "f:3: column \"c\": bad\n    ..." + std::string(49, 'a') + "," + std::string(70, 'x') + "...\n" +
                       std::string(4 + 3 + 50, ' ') + "^" + std::string(69, '~') + "\n");
  EXPECT_EQ(report(std::string(300, 'a'), 299, 300).substr(21, 10), "    ...aaa");
}

TEST(BadRowReport, SurvivesBytesThatAreNoText) {
  const std::string wild(500, '\x80');
  for (std::size_t at = 0; at < wild.size(); at += 7) EXPECT_FALSE(report(wild, at, wild.size()).empty());
}

TEST(BadRowReport, KeepsBothEndsOfALongMessage) {
  BadRowReport report;
  report.file = "f";
  const std::string message = "begin" + std::string(5000, 'x') + "end";
  report.message = message;
  const std::string text = reportText(report);
  EXPECT_LT(text.size(), 700U);
  EXPECT_EQ(text.substr(0, 8), "f: begin");
  EXPECT_EQ(text.substr(text.size() - 4), "end\n");
}

}  // namespace
}  // namespace kyv_internal
