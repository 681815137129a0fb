// A load is killed, again and again, at every point of its work, and goes on each time: in the end the stream holds
// each good row of the file once, in order and byte for byte.

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "tests/end_to_end/load_fixture.h"

namespace {

using kyv_test::read;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int kKillsOfAKind = 1;
#else
constexpr int kKillsOfAKind = 5;
#endif

// A file of so many lines is published in batches of so many rows.
struct Size {
  int batch;
  int lines;
};
constexpr Size kSizes[] = {{1, 120}, {7, 300}, {100, 900}, {1000, 2300}};

constexpr const char* kRandomMoment = "at a random moment";
constexpr const char* kPoints[] = {"after position", "before row",   "before publish", "after publish",
                                   "after begin",    "after insert", "before key",     "after key",
                                   "before commit",  "after commit", "halfway write",  kRandomMoment};

class LoadKilled : public kyv_test::Load {
 protected:
  LoadKilled() {
    write("s.json", R"({"stream": "t", "id": 3, "header": true, "columns": [{"name": "Id", "type": "long"},
                        {"name": "Name", "type": "string"}, {"name": "Price", "type": "float"}]})");
  }

  // Three rows in a row have one key; some rows are bad, and some lines blank.
  void writeLines(int lines) {
    std::string text = "Id,Name,Price\n";
    for (int i = 0; i < lines; ++i) {
      const std::string number = std::to_string(i);
      const std::string row = std::to_string(i / 3) + ",name" + number + "," + (i % 13 == 6 ? "x" : number + ".5");
      text += (i % 11 == 5 ? "" : row) + "\n";
    }
    write("in.csv", text);
    EXPECT_EQ(run("kyv convert -q -s s.json in.csv -o expected").status, 1);
  }

  std::string project() const { return "p:" + std::to_string(project_); }

  std::vector<std::string> line(const Size& size, bool hasKeyColumn) const {
    std::vector<std::string> words = {
        "load", "-q", "-s", "s.json", "--project", project(), "--batch", std::to_string(size.batch), "in.csv"};
    if (hasKeyColumn) words.insert(words.end(), {"--key-column", "Id"});
    return words;
  }

  // How often a load of the whole file comes to a point, about.
  static int timesAt(const std::string& point, const Size& size) {
    if (point.ends_with("position")) return 1;
    const bool isPerRow = point.ends_with("row") || point.ends_with("insert");
    return isPerRow ? size.lines : 1 + size.lines / size.batch;
  }

  // Runs a load that is to be killed. Whether it was.
  bool killOne(const std::string& point, const Size& size, bool hasKeyColumn) {
    const std::vector<std::string> words = line(size, hasKeyColumn);
    if (point == kRandomMoment) {
      const pid_t child = start(words);
      std::this_thread::sleep_for(std::chrono::microseconds(random_() % 40'000));
      kill(child, SIGKILL);
      return ended(child) == -SIGKILL;
    }
    const unsigned times = 1 + random_() % std::max(1, timesAt(point, size) / 3);
    const pid_t child = start(words, {"LD_PRELOAD=" + std::string(kyv_test::kLoadFaults),
                                      "ASAN_OPTIONS=verify_asan_link_order=0:detect_leaks=0",
                                      "LOAD_KILL=" + point + " " + std::to_string(times)});
    return ended(child) == -SIGKILL;
  }

  // Kills loads of one file, which all go on with one delivery, and lets the last one come to its end.
  void killSome(const std::string& point, const Size& size, bool hasKeyColumn) {
    ++project_;
    for (int i = 0; i < kKillsOfAKind; ++i) kills_[point] += killOne(point, size, hasKeyColumn) ? 1 : 0;
    EXPECT_LE(ended(start(line(size, hasKeyColumn))), 1) << read(path("err"));
    EXPECT_EQ(stream(project(), "t"), read(path("expected"))) << point << ", batches of " << size.batch;
  }

  std::map<std::string, int> kills_;

 private:
  int project_ = 0;
  std::mt19937 random_{20};
};

TEST_F(LoadKilled, AtAnyPointLosesDoublesAndReordersNothing) {
  bool hasKeyColumn = false;
  for (const Size& size : kSizes) {
    writeLines(size.lines);
    for (const char* point : kPoints) {
      killSome(point, size, hasKeyColumn);
      if (testing::Test::HasFailure()) return;
      hasKeyColumn = !hasKeyColumn;
    }
    hasKeyColumn = !hasKeyColumn;  // the points are even in number
  }
  int all = 0;
  for (const auto& [point, kills] : kills_) {
    std::printf("killed %s: %d times\n", point.c_str(), kills);
    EXPECT_GT(kills, 0) << point;
    all += kills;
  }
  std::printf("kills: %d\n", all);
  EXPECT_GE(all, kKillsOfAKind * 40);
}

}  // namespace
