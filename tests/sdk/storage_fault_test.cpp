// The embedded store on a file system that fails: nothing is half visible, what was acknowledged is there, and the same
// store goes on when the cause is gone.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <iostream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tests/sdk/fault_vfs.h"
#include "tests/sdk/store_fixture.h"

namespace kyv_internal {
namespace {

constexpr std::int64_t kPublishes = 12;
constexpr std::size_t kRowsEach = 5;
constexpr std::size_t kRecordBytes = 1500;

const StreamDefinition kLog{"Log", 1, {{"a", 2}}, {}};

// A store and a delivery on it, published to in steps that can be repeated.
class Steps {
 public:
  explicit Steps(ProjectAddress project) : project_(std::move(project)) {}

  // Does what is left, up to the first failure.
  bool run(Failure& failure) {
    failure = {};
    if (store_ == nullptr) store_ = openStore(project_, failure);
    if (store_ == nullptr || !store_->defineStream(kLog, failure)) return false;
    if (delivery_.fence == 0 && !store_->takeDelivery("adapter", Take::IfFree, delivery_.fence, failure)) return false;
    while (published_ < kPublishes) {
      if (!publish(published_ + 1, failure)) return false;
      ++published_;
    }
    return true;
  }
  std::int64_t published() const { return published_; }
  EventStore* store() const { return store_.get(); }

 private:
  bool publish(std::int64_t key, Failure& failure) {
    delivery_.key = DeliveryKey{key, 0};
    const std::string record(kRecordBytes, static_cast<char>('a' + key));
    return store_->publish(kLog, std::vector<PublishedRow>(kRowsEach, {RowChange::Append, "", record}), &delivery_,
                           failure);
  }

  const ProjectAddress project_;
  std::unique_ptr<EventStore> store_;
  Delivery delivery_{"adapter", 0, {}};
  std::int64_t published_ = 0;
};

// Why what a store holds is not just the rows of so many publishes, and their key; "" when it is.
std::string whatIsWrong(EventStore& store, std::int64_t publishes) {
  Failure failure;
  std::optional<DeliveryKey> key;
  if (!store.readDelivery("adapter", key, failure)) return failure.message;
  if (key.value_or(DeliveryKey()).key != publishes) return "key " + std::to_string(key.value_or(DeliveryKey()).key);
  std::int64_t rows = 0;
  for (RowChunk chunk;;) {
    if (!store.read(kLog, rows, chunk, failure)) return failure.message;
    if (chunk.rows.empty()) break;
    for (const RowChunk::Row& row : chunk.rows) {
      const auto publish = static_cast<std::size_t>(rows++) / kRowsEach + 1;
      if (row.number != rows || chunk.record(row) != std::string(kRecordBytes, static_cast<char>('a' + publish))) {
        return "another row " + std::to_string(rows);
      }
    }
  }
  const bool right = rows == publishes * static_cast<std::int64_t>(kRowsEach);
  return right ? "" : std::to_string(rows) + " rows";
}

void expectPublished(const Steps& steps) {
  if (steps.published() == 0) return;
  EXPECT_EQ(whatIsWrong(*steps.store(), steps.published()), "");
}

class StorageFaults : public testing::Test {
 protected:
  const kyv_test::StoreFolder folder_{"sqlite", kyv_test::folderInMemory()};
};

void limitFiles(rlim_t bytes) {
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  limit.rlim_cur = std::min(bytes, limit.rlim_max);
  setrlimit(RLIMIT_FSIZE, &limit);
}

// In a child whose files cannot grow beyond a size: 2 when that was felt, 0 when not, 1 when something is wrong.
int runOnFullDisk(rlim_t size) {
  Steps steps({"localhost:0", "test", "full", std::to_string(size)});
  Failure failure;
  limitFiles(size);
  const bool done = steps.run(failure);
  const bool told = failure.code == KYV_ERROR_STORE &&
                    failure.message.find("full." + std::to_string(size) + ".kyv") != std::string::npos;
  EXPECT_TRUE(done || told) << failure.message;
  EXPECT_EQ(failure.message.find("Success"), std::string::npos) << failure.message;
  limitFiles(RLIM_INFINITY);
  expectPublished(steps);
  EXPECT_TRUE(steps.run(failure)) << "the same again, with room: " << failure.message;
  EXPECT_EQ(whatIsWrong(*steps.store(), kPublishes), "");
  return testing::Test::HasFailure() ? 1 : done ? 0 : 2;
}

TEST_F(StorageFaults, AFullDiskLosesNothingAndIsForgottenWhenThereIsRoom) {
  constexpr rlim_t kStep = 3001;
  signal(SIGXFSZ, SIG_IGN);
  int sizes = 0;
  int felt = 0;
  for (rlim_t size = 0; size < 600000; size += kStep, ++sizes) {
    const pid_t child = fork();
    if (child == 0) _exit(runOnFullDisk(size));
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) != 1) << size << " bytes, status " << status;
    felt += WEXITSTATUS(status) == 2;
  }
  signal(SIGXFSZ, SIG_DFL);
  std::cout << sizes << " sizes of a full disk, " << felt << " of them too small\n";
  EXPECT_GT(felt, 30);
  EXPECT_LT(felt, sizes);
}

TEST_F(StorageFaults, EveryAccessToAFileMayFail) {
  kyv_test::FaultVfs files;
  int project = 0;
  int runs = 0;
  int failures = 0;
  for (const bool ever : {false, true}) {
    bool hit = true;
    for (long access = 1; hit; ++access) {
      SCOPED_TRACE(std::to_string(access) + (ever ? " and ever" : " once"));
      Steps steps({"localhost:0", "test", "faults", std::to_string(++project)});
      Failure failure;
      files.failAt(access, ever);
      const bool done = steps.run(failure);
      hit = files.hasFailed();
      EXPECT_TRUE(done || (hit && failure.code == KYV_ERROR_STORE && !failure.message.empty())) << failure.message;
      runs += hit;
      failures += !done;
      files.failAt(0, false);
      expectPublished(steps);
      EXPECT_TRUE(steps.run(failure)) << "the same store again: " << failure.message;
      EXPECT_EQ(whatIsWrong(*steps.store(), kPublishes), "");
      ASSERT_LT(access, 3000);
    }
  }
  std::cout << runs << " runs with an access to a file failing, " << failures << " of them failed\n";
}

TEST_F(StorageFaults, APublishIsOnTheDiskWhenItReturns) {
  kyv_test::FaultVfs files;
  for (const std::string sync : {"full", "normal"}) {
    setenv("KYV_STORE_SYNC", sync.c_str(), 1);
    Steps steps({"localhost:0", "test", sync, "1"});
    Failure failure;
    ASSERT_TRUE(steps.run(failure)) << failure.message;
    EXPECT_EQ(files.isUnsynced(".kyv-wal"), sync == "normal");
  }
  unsetenv("KYV_STORE_SYNC");
}

// Reads in transactions of some milliseconds, until told to stop.
void readOverAndOver(const std::string& path, const std::atomic<bool>& stop) {
  sqlite3* connection = nullptr;
  EXPECT_EQ(sqlite3_open(path.c_str(), &connection), SQLITE_OK);
  while (!stop) {
    EXPECT_EQ(sqlite3_exec(connection, "BEGIN; SELECT last_row FROM stream", nullptr, nullptr, nullptr), SQLITE_OK);
    std::this_thread::sleep_for(std::chrono::milliseconds(3));
    EXPECT_EQ(sqlite3_exec(connection, "COMMIT", nullptr, nullptr, nullptr), SQLITE_OK);
  }
  sqlite3_close(connection);
}

TEST_F(StorageFaults, TheLogStaysBoundedWhileReadersOverlap) {
  const StreamDefinition table{"Table", 1, {{"a", 2}}, {0}};
  Failure failure;
  const auto store = openStore({"localhost:0", "test", "log", "1"}, failure);
  ASSERT_TRUE(store->defineStream(table, failure)) << failure.message;
  const std::string path = folder_.path() / "test/log.1.kyv";
  const std::string record(std::size_t{1} << 20, 'r');
  const PublishedRow row{RowChange::Upsert, "key", record};
  std::atomic<bool> stop = false;
  std::uintmax_t largest = 0;
  {
    std::vector<std::jthread> readers;
    for (int i = 0; i < 3; ++i) readers.emplace_back([&] { readOverAndOver(path, stop); });
    for (int i = 0; i < 400; ++i) {
      ASSERT_TRUE(store->publish(table, {&row, 1}, nullptr, failure)) << failure.message;
      largest = std::max(largest, std::filesystem::file_size(path + "-wal"));
    }
    stop = true;
  }
  std::cout << "400 MB published beside readers, the log grew to " << largest / 1000000 << " MB\n";
  EXPECT_LT(largest, 180000000U);
}

}  // namespace
}  // namespace kyv_internal
