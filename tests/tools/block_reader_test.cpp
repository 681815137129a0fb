#include "block_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "quoted_reader.h"
#include "tests/support/piece_source.h"

namespace kyv_internal {
namespace {

using kyv_test::PieceSource;

constexpr std::size_t kNoLimit = std::size_t{1} << 30;

// The blocks of a text, "kind text" with "|" between them; line feeds shown as "$".
std::string blocks(const std::string& text, std::size_t piece, Framing& framing, std::size_t most = kNoLimit) {
  constexpr std::string_view kKindNames[] = {"", "unfinished ", "oversized ", "more ", "broken "};
  PieceSource source(text, {piece});
  BlockReader reader(source, framing, most);
  reader.dropByteOrderMark();
  std::string out;
  Block block;
  while (reader.next(block)) {
    EXPECT_EQ(text.substr(block.offset, block.text().size()), block.text());
    out += (out.empty() ? "" : "|") + std::string(kKindNames[static_cast<int>(block.kind)]) + std::string(block.text());
  }
  std::replace(out.begin(), out.end(), '\n', '$');
  return out;
}

TEST(BlockReader, CutsAfterWholeRecords) {
  const struct {
    const char* text;
    const char* lines;
    const char* records;
  } kCases[] = {
      {"", "", ""},
      {"a\nb\n", "a$|b$", "a$|b$"},
      {"a\nb", "a$|unfinished b", "a$|unfinished b"},
      {"\xEF\xBB\xBFx\n", "x$", "x$"},
      {"\xEF\xBB\xBF", "", ""},
      {"\xEF\xBBx\n", "\xEF\xBBx$", "\xEF\xBBx$"},
      {"\xEF\xBB\xBF\"a\nb\"\n", "\"a$|b\"$", "\"a$b\"$"},
      {"\"a\n\"\"\nb\"\nc\n", "\"a$|\"\"$|b\"$|c$", "\"a$\"\"$b\"$|c$"},
      {"5\"\n6\"\n", "5\"$|6\"$", "5\"$|6\"$"},
      {"x,\"\n\",y\nz\n", "x,\"$|\",y$|z$", "x,\"$\",y$|z$"},
      {"\"a\nb", "\"a$|unfinished b", "unfinished \"a$b"},
  };
  for (const auto& row : kCases) {
    LineFraming lines;
    EXPECT_EQ(blocks(row.text, 1, lines), row.lines) << row.text;
    QuotedFraming records(',');
    EXPECT_EQ(blocks(row.text, 1, records), row.records) << row.text;
  }
}

// Where the records of a text end, by reading them.
std::set<std::size_t> recordEnds(std::string_view text) {
  QuotedReader reader(',');
  std::set<std::size_t> ends;
  for (std::size_t at = 0; at < text.size();) ends.insert(at += reader.read(text.substr(at)).size);
  return ends;
}

void checkFraming(const std::string& text, std::size_t piece) {
  const std::set<std::size_t> ends = recordEnds(text);
  PieceSource source(text, {piece});
  QuotedFraming framing(',');
  BlockReader reader(source, framing, kNoLimit);
  std::size_t at = 0;
  for (Block block; reader.next(block);) {
    at += block.text().size();
    EXPECT_EQ(ends.count(at), 1U) << text << " at " << at << " in pieces of " << piece;
  }
  EXPECT_EQ(at, text.size()) << text;
}

TEST(BlockReader, AgreesWithTheReaderOfRecordsOnEveryShortText) {
  constexpr std::string_view kAlphabet = "a,\"\n";
  for (std::size_t length = 1; length <= 6; ++length) {
    const std::size_t texts = std::size_t{1} << (2 * length);
    for (std::size_t number = 0; number < texts; ++number) {
      std::string text;
      for (std::size_t i = 0; i < length; ++i) text += kAlphabet[(number >> (2 * i)) & 3U];
      for (std::size_t piece : {1, 2, 5}) checkFraming(text, piece);
    }
  }
}

TEST(BlockReader, PassesAnOversizedRecordOnInParts) {
  LineFraming lines;
  EXPECT_EQ(blocks("ab\n123456789\ncd\n", 4, lines, 4), "ab$|oversized 12345|more 6789|more $|cd$");
  QuotedFraming records(',');
  EXPECT_EQ(blocks("ab\n\"2345\n789\ncd\n\"e\"\n", 4, records, 4), "ab$|oversized \"2345|more $|789$cd$|\"e\"$");
  LineFraming endless;
  EXPECT_EQ(blocks("123456789", 4, endless, 4), "oversized 1234|more 5678|more 9");
}

TEST(BlockReader, ReportsAFailedSource) {
  PieceSource source("a\nb", {2}, true);
  LineFraming framing;
  BlockReader reader(source, framing, kNoLimit);
  Block block;
  EXPECT_TRUE(reader.next(block));
  EXPECT_FALSE(reader.next(block));
  EXPECT_TRUE(reader.failed());
}

std::string record(std::int32_t length, std::size_t size) {
  std::string bytes(size, 'r');
  std::memcpy(bytes.data(), &length, sizeof length);
  return bytes;
}

TEST(BlockReader, FollowsTheLengthsOfRecords) {
  const std::string good = record(24, 24) + record(30, 30);
  const struct {
    const char* what;
    std::string bytes;
    std::vector<std::size_t> sizes;
    BlockKind last;
  } kCases[] = {
      {"whole", good, {24, 30}, BlockKind::kRecords},
      {"too short a length", good + record(23, 40), {24, 30, 4}, BlockKind::kBroken},
      {"a negative length", good + record(-1, 40), {24, 30, 4}, BlockKind::kBroken},
      {"too long a length", good + record(1001, 40), {24, 30, 4}, BlockKind::kBroken},
      {"a torn record", good + record(1000, 40), {24, 30, 40}, BlockKind::kUnfinished},
      {"a torn length", good + "ab", {24, 30, 2}, BlockKind::kUnfinished},
  };
  for (const auto& row : kCases) {
    PieceSource source(row.bytes, {1});
    RecordFraming framing(1000);
    BlockReader reader(source, framing, kNoLimit);
    std::vector<std::size_t> sizes;
    Block block;
    while (sizes.size() < row.sizes.size() && reader.next(block)) sizes.push_back(block.text().size());
    EXPECT_EQ(sizes, row.sizes) << row.what;
    EXPECT_EQ(block.kind, row.last) << row.what;
    EXPECT_FALSE(reader.next(block)) << row.what << ", whatever else the source has";
  }
}

}  // namespace
}  // namespace kyv_internal
