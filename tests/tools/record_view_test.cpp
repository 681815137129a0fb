#include "record_view.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "kyv/data_types.h"
#include "record_choice.h"
#include "tests/support/bytes.h"

namespace kyv_internal {
namespace {

using kyv_test::HandRecord;
using testing::HasSubstr;
using testing::Not;

const kyv::StreamSchema& schema() {
  static const kyv::StreamSchema kSchema(
      "Trades", 17, {{"Id", DataTypes::kInteger}, {"Price", DataTypes::kFloat}, {"Name <b>", DataTypes::kString}});
  return kSchema;
}

HandRecord sound() { return {7, 17, 0, 3, {36, 0, 40, 43}, "07000000 3c6200 00"}; }

std::string show(const RecordView& view, const std::string& record) {
  ValueDecoder values(schema(), {});
  return view.record(mapRecord(record, values), 2, 90);
}

TEST(TextView, ReadsWithoutColour) {
  EXPECT_EQ(show(*makeTextView(Colour::kNone), sound().bytes()),
            "Record 2, at byte 90\n"
            "  length     44 bytes\n"
            "  operation  7, upsert (p)\n"
            "  stream     17, \"Trades\"\n"
            "  flags      0x00000000, little-endian\n"
            "  counts     3 columns, 0 options\n"
            "\n"
            "         0  1  2  3   4  5  6  7   8  9  a  b   c  d  e  f\n"
            "  0000  2c 00 00 00  07 00 00 00  11 00 00 00  00 00 00 00  ,...............\n"
            "        length-----  operation--  stream-----  flags------\n"
            "  0010  03 00 00 00  24 00 00 00  00 00 00 00  28 00 00 00  ....$.......(...\n"
            "        counts-----  @1---------  @2---------  @3---------\n"
            "  0020  2b 00 00 00  07 00 00 00  3c 62 00 00               +.......<b..\n"
            "        @end-------  1----------  3------- ..\n"
            "\n"
            "   #  column       type     offset  length  bytes                 text\n"
            "   1  Id           integer    0x24       4  07 00 00 00           7\n"
            "   2  Price        float         0                                NULL\n"
            "   3  Name <b>     string     0x28       3  3c 62 00              \"<b\"\n"
            "@end  end of data  offset     0x2B\n"
            " gap  gap                                1  00                    belongs to no value\n"
            "\n");
}

TEST(TextView, GivesAValueTheColourOfItsOffset) {
  const std::string text = show(*makeTextView(Colour::kAnsi), sound().bytes());
  const auto colourBefore = [&](const std::string& what) {
    const std::size_t escape = text.rfind('\x1B', text.find(what));
    return text.substr(escape, text.find('m', escape) - escape);
  };
  EXPECT_EQ(colourBefore("@1-"), colourBefore("1-----"));
  EXPECT_EQ(colourBefore("@3-"), colourBefore("3-----"));
  EXPECT_NE(colourBefore("@1-"), colourBefore("@3-"));
}

TEST(TextView, ShowsFaultsUnderWhatIsToBlame) {
  HandRecord falls = sound();
  falls.operation = 2;
  falls.table = {40, 36, 41, 44};
  const std::string text = show(*makeTextView(Colour::kNone), falls.bytes());
  EXPECT_THAT(text, HasSubstr("Record 2, at byte 90: 4 faults\n"));
  EXPECT_THAT(text, HasSubstr("  operation  2\n             ! no operation has this number\n"));
  EXPECT_THAT(text, HasSubstr("no value\n      ! the next offset, 0x24, leaves it no bytes\n"));
  EXPECT_THAT(text, HasSubstr("unreadable\n      ! its offset, 0x24, is not above the one before it, 0x28\n"
                              "      ! it has 5 bytes, a value of this type takes 8\n"));
}

TEST(TextView, LeavesOutTheMiddleOfALongValue) {
  const HandRecord record = {7, 17, 0, 3, {0, 0, 36, 100'036}, std::string(199'998, '4') + "00"};
  const std::string text = show(*makeTextView(Colour::kNone), record.bytes());
  EXPECT_THAT(text, HasSubstr("        ... 99856 bytes ...\n"));
  EXPECT_LT(text.size(), 4000U);
}

TEST(PageView, NeedsNothingElseAndTakesNothingForMarkup) {
  const auto page = makePageView("<file>\x1B", "\"S&\"");
  const std::string text = page->begin() + show(*page, sound().bytes()) + page->end("1 of 1 & all");
  EXPECT_THAT(text, HasSubstr("<title>&lt;file&gt;\\x1B</title>"));
  EXPECT_THAT(text, HasSubstr("<th scope=\"row\">Name &lt;b&gt;</th>"));
  EXPECT_THAT(text, HasSubstr("<td class=\"text\">&quot;&lt;b&quot;</td>"));
  EXPECT_THAT(text, HasSubstr("<p>1 of 1 &amp; all</p>"));
  EXPECT_THAT(text, HasSubstr("default-src 'none'"));
  for (const char* outside : {"http:", "https:", "src=", "href=", "@import", "url("}) {
    EXPECT_THAT(text, Not(HasSubstr(outside)));
  }
}

// The texts of a row's cells, parted by bars.
std::string cellsOf(const std::string& page, const std::string& rowBegin) {
  const std::size_t begin = page.find(rowBegin);
  std::string cells;
  bool inTag = false;
  for (const char c : page.substr(begin, page.find("</tr>", begin) - begin)) {
    if (c == '<') inTag = true;
    if (!inTag) cells += c;
    if (c == '>') inTag = false;
    if (c == '<' && !cells.ends_with('|')) cells += '|';
  }
  return cells;
}

TEST(PageView, ListsValuesBelowTheirHeads) {
  const std::string text = show(*makePageView("f", "S"), sound().bytes());
  EXPECT_EQ(cellsOf(text, "<thead>"), "|#|column|type|text|offset|length|bytes|");
  EXPECT_EQ(cellsOf(text, "<tr class=\"column k5"), "|1|Id|integer|7|0x24|4|07 00 00 00|");
}

TEST(PageView, TiesAValueToItsOffset) {
  const std::string text = show(*makePageView("f", "S"), sound().bytes());
  EXPECT_THAT(text, HasSubstr("<span class=\"entry k5\" data-t=\"5\" title=\"offset of Id, offset: 4 bytes at 0x14: "
                              "0x24\">24 00 00 00</span>"));
  EXPECT_THAT(text, HasSubstr("<span class=\"column k5\" data-t=\"5\" title=\"Id, integer: 4 bytes at 0x24: 7\">"
                              "07 00 00 00</span>"));
  EXPECT_THAT(text, HasSubstr("<tr class=\"column k5\" data-t=\"5\" tabindex=\"0\"><td class=\"number\">1</td>"));
}

TEST(RawView, DumpsWhatIsThere) {
  const std::string whole = sound().bytes();
  EXPECT_EQ(show(*makeRawView(), whole),
            "Len:0x2c Flags:0x00000000 Op:7 Cols:0x3 Opts:0x0\n  Offsets: 0x24 0x0 0x28 0x2b\n"
            "  07 00 00 00 3C 62 00 00\n");
  EXPECT_EQ(show(*makeRawView(), whole.substr(0, 38)),
            "Len:0x2c Flags:0x00000000 Op:7 Cols:0x3 Opts:0x0\n  Offsets: 0x24 0x0 0x28 0x2b\n  07 00\n");
  EXPECT_EQ(show(*makeRawView(), whole.substr(0, 26)),
            "Len:0x2c Flags:0x00000000 Op:7 Cols:0x3 Opts:0x0\n  Offsets: 0x24\n  \n");
  EXPECT_EQ(show(*makeRawView(), ""), "Len:0x0 Flags:0x00000000 Op:0 Cols:0x0 Opts:0x0\n  Offsets:\n  \n");
}

TEST(RecordChoice, IsANumberOrTwo) {
  for (const auto& [text, last] : {std::pair{"7", 7U}, {"7-9", 9U}, {"7-7", 7U}}) {
    const std::optional<RecordChoice> choice = parseRecordChoice(text);
    ASSERT_TRUE(choice) << text;
    EXPECT_EQ(choice->first, 7U) << text;
    EXPECT_EQ(choice->last, last) << text;
  }
  for (const char* text : {"0", "9-7", "", "-", "7-", "-7", "x", "7-9-", " 7", "18446744073709551616"}) {
    EXPECT_FALSE(parseRecordChoice(text)) << text;
  }
}

}  // namespace
}  // namespace kyv_internal
