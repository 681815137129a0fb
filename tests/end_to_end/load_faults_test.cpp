// kyv load beside another loader, with a store that fails, and interrupted: what is told, and that each row is in the
// stream once.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "tests/end_to_end/load_fixture.h"

namespace {

using kyv_test::read;
using testing::HasSubstr;

const std::vector<std::string> kLoadInput = {"load", "-s", "s.json", "--project", "p:1", "--batch-time", "20", "-"};
const std::string kPreload = "LD_PRELOAD=" + std::string(kyv_test::kLoadFaults);
const std::string kSanitizers = "ASAN_OPTIONS=verify_asan_link_order=0:detect_leaks=0";

class LoadFaults : public kyv_test::Load {
 protected:
  LoadFaults() {
    write("s.json",
          R"({"stream": "t", "columns": [{"name": "Id", "type": "long"}, {"name": "Name", "type": "string"}]})");
  }
  ~LoadFaults() override {
    if (input_ >= 0) close(input_);
  }

  // Rows from one number to before another, in the files in.csv and, as records, expected.
  void writeRows(int rows) {
    write("in.csv", lines(0, rows));
    ASSERT_EQ(run("kyv convert -q -s s.json in.csv -o expected").status, 0);
  }
  static std::string lines(int begin, int end) {
    std::string text;
    for (int i = begin; i < end; ++i) text += std::to_string(i) + ",name" + std::to_string(i) + "\n";
    return text;
  }

  // A load whose input the test gives.
  pid_t startWithInput(const std::vector<std::string>& environment = {}) {
    int ends[2];
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    input_ = ends[1];
    return start(kLoadInput, environment, ends[0]);
  }
  void give(const std::string& text) const { EXPECT_EQ(::write(input_, text.data(), text.size()), std::ssize(text)); }
  void endInput() {
    close(input_);
    input_ = -1;
  }

  void waitFor(const std::function<bool()>& holds) {
    for (int i = 0; i < 3000 && !holds(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    ASSERT_TRUE(holds()) << read(path("err"));
  }
  void waitForDelivery(std::int64_t key) {
    waitFor([&] { return delivered("p:1", "load/t").value_or(std::pair{0L, 0L}).first == key; });
  }
  void expectAll() { EXPECT_EQ(stream("p:1", "t"), read(path("expected"))); }

 private:
  int input_ = -1;
};

TEST_F(LoadFaults, OneLoaderAtATime) {
  writeRows(30);
  const pid_t first = startWithInput();
  give(lines(0, 10));
  waitForDelivery(10);
  const auto another = run("kyv load -s s.json --project p:1 in.csv");
  EXPECT_EQ(another.status, 4);
  EXPECT_EQ(another.err, "kyv: Another adapter is at work under the name load/t.\n");
  EXPECT_EQ(run("kyv load -q -s s.json --project p:1 --dry-run in.csv").status, 0);
  give(lines(10, 30));
  endInput();
  EXPECT_EQ(ended(first), 0);
  expectAll();
}

TEST_F(LoadFaults, AHungLoaderThatWasTakenOverWritesNoMore) {
  writeRows(30);
  const pid_t hung = startWithInput();
  give(lines(0, 10));
  waitForDelivery(10);
  kill(hung, SIGSTOP);
  EXPECT_EQ(run("kyv load -q -s s.json --project p:1 in.csv").status, 4) << "a hung one holds the delivery";
  const auto heir = run("kyv load -s s.json --project p:1 --take-over in.csv");
  EXPECT_THAT(heir.err, testing::StartsWith("kyv: resuming after row 10\nread 20, accepted 20, rejected 0"));
  give(lines(10, 20));
  kill(hung, SIGCONT);
  EXPECT_EQ(ended(hung), 4);
  EXPECT_THAT(read(path("err")),
              testing::StartsWith("kyv: Another adapter has taken over the delivery of load/t.\nread "));
  expectAll();
}

TEST_F(LoadFaults, AnswersThatAreLostAreSettledByThePosition) {
  writeRows(100);
  for (const char* every : {"1", "2", "3"}) {
    std::filesystem::remove_all(path("store"));
    const pid_t child = start({"load", "-s", "s.json", "--project", "p:1", "--batch", "7", "--stats", "100", "in.csv"},
                              {kPreload, kSanitizers, std::string("LOAD_LOSE_ANSWERS=") + every});
    EXPECT_EQ(ended(child), 0) << read(path("err"));
    EXPECT_THAT(read(path("err")), Not(HasSubstr("retries 0"))) << every;
    expectAll();
  }
}

// Files may grow to ever more bytes; once there is room the load goes on by itself, or the next one does.
TEST_F(LoadFaults, AFullDiskDelaysALoad) {
  writeRows(3000);
  int failed = 0;
  for (int blocks = 4; blocks < 1000; blocks += blocks / 3) {
    std::filesystem::remove_all(path("store"));
    const auto full =
        run("ulimit -f " + std::to_string(blocks) + "; kyv load -s s.json --project p:1 --batch 300 --retry 0 in.csv");
    EXPECT_THAT(full.status, testing::AnyOf(0, 4)) << full.err;
    EXPECT_EQ(full.err.substr(0, 5), full.status == 4 ? "kyv: " : "read ") << blocks;
    failed += full.status == 4 ? 1 : 0;
    EXPECT_EQ(run("kyv load -q -s s.json --project p:1 in.csv").status, 0) << blocks;
    expectAll();
  }
  std::printf("loads onto a full disk: %d\n", failed);
  EXPECT_GE(failed, 5);
}

TEST_F(LoadFaults, TriesUntilTheStoreTakesRowsAgain) {
  writeRows(3000);
  ASSERT_EQ(run("head -n 1 in.csv >one; kyv load -q -s s.json --project p:1 one").status, 0);
  const pid_t child = startWithInput();
  give(lines(0, 2));
  waitForDelivery(2);
  const rlimit none = {8192, RLIM_INFINITY};
  ASSERT_EQ(prlimit(child, RLIMIT_FSIZE, &none, nullptr), 0);
  std::thread rest([&] { give(lines(2, 3000)); });
  waitFor([&] { return read(path("err")).find("Rows cannot be written to stream t: ") != std::string::npos; });
  const rlimit all = {RLIM_INFINITY, RLIM_INFINITY};
  ASSERT_EQ(prlimit(child, RLIMIT_FSIZE, &all, nullptr), 0);
  rest.join();
  endInput();
  EXPECT_EQ(ended(child), 0) << read(path("err"));
  EXPECT_THAT(read(path("err")), HasSubstr(". Trying for 30 s.\n"));
  expectAll();
}

TEST_F(LoadFaults, AnInterruptEndsTheTrying) {
  const pid_t child = startWithInput();
  give(lines(0, 2));
  waitForDelivery(2);
  const rlimit none = {8192, RLIM_INFINITY};
  ASSERT_EQ(prlimit(child, RLIMIT_FSIZE, &none, nullptr), 0);
  give(lines(2, 2000));
  waitFor([&] { return read(path("err")).find(". Trying for 30 s.") != std::string::npos; });
  kill(child, SIGINT);
  EXPECT_EQ(ended(child), 5);
  EXPECT_THAT(read(path("err")), HasSubstr("; published up to row 2, and the same command goes on from there\n"));
}

TEST_F(LoadFaults, TwoAdaptersShareAStream) {
  writeRows(3000);
  const auto both =
      run("load() { kyv load -q -s s.json --project p:1 --adapter $1 --batch 50 $1; }\n"
          "cp in.csv a; sed s/name/other/ in.csv >b; load a & load b & wait -n && wait -n || exit\n"
          "for i in a b; do kyv read -q --project p:1 --stream t | grep $([ $i = a ] && echo name || echo other) | "
          "cmp - $i; done");
  EXPECT_EQ(both.status, 0) << both.err;
}

TEST_F(LoadFaults, AnInterruptFinishesTheBatchInHand) {
  writeRows(20);
  for (const int signal : {SIGINT, SIGTERM}) {
    std::filesystem::remove_all(path("store"));
    const pid_t child = startWithInput();
    give(lines(0, 10));
    waitForDelivery(10);
    kill(child, signal);
    EXPECT_EQ(ended(child), 5);
    EXPECT_THAT(read(path("err")),
                HasSubstr("kyv: interrupted; published up to row 10, and the same command goes on from there\n"));
    endInput();
    EXPECT_EQ(run("kyv load -q -s s.json --project p:1 in.csv").status, 0);
    expectAll();
  }
}

// Rows that arrive one by one are there soon after, in batches that are not full.
TEST_F(LoadFaults, RowsDoNotWaitForTheirBatchToFill) {
  const pid_t child = startWithInput();
  for (int i = 0; i < 3; ++i) {
    give(lines(i, i + 1));
    waitForDelivery(i + 1);
  }
  endInput();
  EXPECT_EQ(ended(child), 0);
}

}  // namespace
