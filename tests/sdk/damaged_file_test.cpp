// Project files that were damaged, or changed by somebody else: what is read is what was published, or a clear error,
// and nothing crashes or overwrites rows.

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <iostream>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "platform/sdk/project.h"
#include "tests/sdk/store_fixture.h"

namespace kyv_internal {
namespace {

namespace fs = std::filesystem;

const ProjectAddress kProject{"localhost:0", "default", "orders", "1"};
const StreamDefinition kLog{"Log", 1, {{"a", 2}, {"b", 5}}, {}};
const StreamDefinition kTable{"Table", 2, {{"a", 2}}, {0}};
constexpr std::size_t kRows = 60;
constexpr std::size_t kPage = 4096;

using Bytes = std::string;

void write(const fs::path& path, const Bytes& bytes) { std::ofstream(path, std::ios::binary) << bytes; }

Bytes readAll(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// Small rows, and some that need pages of their own.
Bytes recordOf(std::size_t row) { return Bytes(row % 7 == 0 ? 9000 : 90, static_cast<char>('!' + row)); }

class DamagedFile : public testing::Test {
 protected:
  // A file with two streams and a delivery key.
  DamagedFile() {
    Failure failure;
    const auto store = openStore(kProject, failure);
    std::vector<Bytes> records;
    std::vector<PublishedRow> log;
    std::vector<PublishedRow> table;
    for (std::size_t row = 0; row < kRows; ++row) records.push_back(recordOf(row));
    for (const Bytes& record : records) {
      log.push_back({RowChange::Append, "", record});
      table.push_back({RowChange::Insert, record, record});
    }
    Delivery delivery{"adapter", 0, DeliveryKey{5, 6}};
    EXPECT_TRUE(store->defineStream(kLog, failure) && store->defineStream(kTable, failure)) << failure.message;
    EXPECT_TRUE(store->takeDelivery("adapter", Take::IfFree, delivery.fence, failure)) << failure.message;
    EXPECT_TRUE(store->publish(kLog, log, &delivery, failure)) << failure.message;
    EXPECT_TRUE(store->publish(kTable, table, nullptr, failure)) << failure.message;
  }

  fs::path file() const { return folder_.path() / "default" / "orders.1.kyv"; }

  void restore(const Bytes& bytes) const {
    for (const char* const end : {"-wal", "-shm"}) fs::remove(file().string() + end);
    write(file(), bytes);
  }

 private:
  const kyv_test::StoreFolder folder_{"sqlite", kyv_test::folderInMemory()};
};

// Reads a whole stream. Rows that were not published fail the test.
bool readWhole(EventStore& store, const StreamDefinition& stream, std::size_t& rows, Failure& failure) {
  rows = 0;
  for (RowChunk chunk;;) {
    const std::int64_t after = chunk.rows.empty() ? 0 : chunk.rows.back().number;
    if (!store.read(stream, after, chunk, failure)) return false;
    if (chunk.rows.empty()) return true;
    for (const RowChunk::Row& row : chunk.rows) {
      EXPECT_EQ(chunk.record(row), recordOf(static_cast<std::size_t>(row.number) - 1));
    }
    rows += chunk.rows.size();
  }
}

bool isWhole(EventStore& store) {
  Failure failure;
  std::size_t log = 0;
  std::size_t table = 0;
  EXPECT_TRUE(readWhole(store, kLog, log, failure) && readWhole(store, kTable, table, failure)) << failure.message;
  return log == kRows && table == kRows;
}

// Uses the project as an adapter does, every operation whether or not those before it failed. The first failure's text,
// "" when all went well; each must be told as one of the store. `tableRows`: how many it read of the table.
std::string useProject(std::size_t& tableRows) {
  std::string first;
  Failure failure;
  const auto told = [&](bool done) {
    const bool right = failure.code == KYV_ERROR_STORE || failure.code == KYV_ERROR_MISSING;
    EXPECT_TRUE(done || (right && !failure.message.empty())) << failure.code << ' ' << failure.message;
    if (!done && first.empty()) first = failure.message;
    return done;
  };
  const auto store = openStore(kProject, failure);
  if (!told(store != nullptr)) return first;
  std::vector<std::string> names;
  std::optional<DeliveryKey> key;
  Delivery delivery{"adapter", 0, DeliveryKey{7, 8}};
  const Bytes more = recordOf(kRows);
  const PublishedRow row{RowChange::Append, "", more};
  const PublishedRow change{RowChange::Upsert, more, more};
  std::size_t logRows = 0;
  told(store->listStreams(names, failure));
  const bool readLog = told(readWhole(*store, kLog, logRows, failure));
  EXPECT_TRUE(!readLog || logRows == kRows) << "rows are missing, and nobody says so";
  told(readWhole(*store, kTable, tableRows, failure));
  told(store->readDelivery("adapter", key, failure));
  told(store->takeDelivery("adapter", Take::IfFree, delivery.fence, failure));
  told(store->publish(kTable, {&change, 1}, nullptr, failure));
  told(store->publish(kLog, {&row, 1}, delivery.fence > 0 ? &delivery : nullptr, failure));
  return first;
}

TEST_F(DamagedFile, EveryPageMayBeOverwritten) {
  const Bytes good = readAll(file());
  std::mt19937 random(1);
  const auto noise = [&](std::size_t) {
    Bytes page(kPage, '\0');
    std::generate(page.begin(), page.end(), [&] { return static_cast<char>(random()); });
    return page;
  };
  const std::function<Bytes(std::size_t)> others[] = {
      noise,
      [](std::size_t) { return Bytes(kPage, '\0'); },
      [&](std::size_t) { return good.substr(kPage, kPage); },
      [&](std::size_t at) { return good.substr(at, kPage / 2) + noise(at).substr(kPage / 2); },
      [&](std::size_t at) {
        Bytes page = good.substr(at, kPage);
        page[random() % kPage] ^= static_cast<char>(1U << random() % 8);
        return page;
      },
  };
  constexpr std::size_t kOtherPage = 2;
  int files = 0;
  int reported = 0;
  for (std::size_t at = 0; at < good.size(); at += kPage) {
    for (std::size_t which = 0; which < std::size(others); ++which) {
      SCOPED_TRACE("page " + std::to_string(at / kPage) + " replacement " + std::to_string(which));
      Bytes bytes = good;
      restore(bytes.replace(at, kPage, others[which](at)));
      std::size_t tableRows = 0;
      const bool told = !useProject(tableRows).empty();
      ++files;
      reported += told;
      // What a table has lost with a page that became another good one, nobody can know.
      EXPECT_TRUE(told || tableRows == kRows || which == kOtherPage) << tableRows;
    }
  }
  std::cout << files << " files with a page that was overwritten, " << reported << " of them reported as damaged\n";
  EXPECT_GT(reported, files / 2);
}

TEST_F(DamagedFile, ItMayBeTooShort) {
  const Bytes good = readAll(file());
  int files = 0;
  for (std::size_t size = 1; size < good.size(); size += 1021) {
    SCOPED_TRACE(size);
    restore(good.substr(0, size));
    std::size_t tableRows = 0;
    ++files;
    const bool told = !useProject(tableRows).empty();
    EXPECT_TRUE(told || size + kPage > good.size()) << "only the last page may hold nothing";
  }
  std::cout << files << " files that were cut off\n";
}

TEST_F(DamagedFile, ItMayBeChangedByHand) {
  const std::string damaged = "the project file '" + file().string() + "' is damaged";
  const struct {
    const char* sql;
    std::string message;  // of the first failure; "" when all goes well
  } cases[] = {
      {"VACUUM", ""},
      {"CREATE TABLE mine (a)", ""},
      {"CREATE TRIGGER t BEFORE INSERT ON rows_1 BEGIN SELECT RAISE(ABORT, 'no'); END", ""},
      {"DROP TABLE stream", damaged + ": no such table: stream"},
      {"DROP TABLE rows_1", damaged + ": no such table: rows_1"},
      {"ALTER TABLE rows_1 RENAME COLUMN sum TO total", damaged + ": no such column: sum"},
      {"DROP TABLE rows_1; CREATE VIEW rows_1 AS SELECT 1 AS number",
       damaged + ": access to view \"rows_1\" prohibited"},
      {"DELETE FROM rows_1 WHERE number = 17", damaged},
      {"DELETE FROM rows_1 WHERE number = 60", damaged},
      {"DELETE FROM rows_1", damaged},
      {"UPDATE rows_1 SET record = x'00' WHERE number = 1", damaged},
      {"UPDATE rows_1 SET record = 'text' WHERE number = 9", damaged},
      {"UPDATE rows_2 SET gone = 1 WHERE number = 60", damaged},
      {"UPDATE rows_2 SET key = x'00' WHERE number = 2", damaged},
      {"UPDATE rows_1 SET number = 61 WHERE number = 60", damaged},
      {"UPDATE stream SET last_row = 0", damaged},
      {"UPDATE stream SET last_row = -5", damaged},
      {"UPDATE stream SET last_row = 9223372036854775807", damaged},
      {"UPDATE stream SET id = 1099511627776", damaged},
      {"UPDATE stream_column SET type = 4294967298", damaged},
      {"UPDATE stream_column SET key_position = 0", damaged},
      {"UPDATE stream_column SET type = 3", "the project has no stream 'Log' of this definition"},
      {"UPDATE delivery SET fence = -1", damaged},
      {"UPDATE delivery SET fence = 9223372036854775807", damaged},
      {"UPDATE delivery SET number = -1", damaged},
  };
  const Bytes good = readAll(file());
  for (const auto& [sql, message] : cases) {
    SCOPED_TRACE(sql);
    restore(good);
    sqlite3* connection = nullptr;
    ASSERT_EQ(sqlite3_open(file().c_str(), &connection), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(connection, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(connection);
    sqlite3_close(connection);
    std::size_t tableRows = 0;
    EXPECT_EQ(useProject(tableRows), message);
  }
}

TEST_F(DamagedFile, RowsAreNeverOverwritten) {
  sqlite3* connection = nullptr;
  ASSERT_EQ(sqlite3_open(file().c_str(), &connection), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(connection, "UPDATE stream SET last_row = 3", nullptr, nullptr, nullptr), SQLITE_OK);
  Failure failure;
  const auto store = openStore(kProject, failure);
  const PublishedRow row{RowChange::Append, "", "new"};
  const PublishedRow change{RowChange::Upsert, "new", "new"};
  EXPECT_FALSE(store->publish(kLog, {&row, 1}, nullptr, failure));
  EXPECT_EQ(failure.message,
            "the project file '" + file().string() + "' is damaged: UNIQUE constraint failed: rows_1.number");
  EXPECT_FALSE(store->publish(kTable, {&change, 1}, nullptr, failure));
  ASSERT_EQ(sqlite3_exec(connection, "UPDATE stream SET last_row = 60", nullptr, nullptr, nullptr), SQLITE_OK);
  sqlite3_close(connection);
  EXPECT_TRUE(isWhole(*store));
}

TEST_F(DamagedFile, OneThatIsGoneIsNotWritten) {
  Failure failure;
  const auto store = openStore(kProject, failure);
  const PublishedRow row{RowChange::Append, "", "new"};
  const Bytes good = readAll(file());
  const std::string message = "the project file '" + file().string() + "' was removed or replaced";
  for (const bool replaced : {false, true}) {
    fs::remove(file());
    if (replaced) write(file(), good);
    RowChunk chunk;
    EXPECT_FALSE(store->publish(kLog, {&row, 1}, nullptr, failure));
    EXPECT_EQ(failure.message, message);
    EXPECT_FALSE(store->read(kLog, 0, chunk, failure));
    EXPECT_EQ(failure.message, message);
  }
}

TEST_F(DamagedFile, AWriterWhoDoesNotEndIsWaitedForAWhile) {
  Failure failure;
  const auto store = openStore(kProject, failure);
  sqlite3* connection = nullptr;
  ASSERT_EQ(sqlite3_open(file().c_str(), &connection), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(connection, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);
  const PublishedRow row{RowChange::Append, "", "new"};
  EXPECT_TRUE(isWhole(*store)) << "readers do not wait";
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_FALSE(store->publish(kLog, {&row, 1}, nullptr, failure));
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(15));
  EXPECT_EQ(failure.message, "the project file '" + file().string() + "' was busy for 10 seconds");
  std::jthread ending([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(sqlite3_exec(connection, "COMMIT", nullptr, nullptr, nullptr), SQLITE_OK);
  });
  EXPECT_TRUE(store->publish(kLog, {&row, 1}, nullptr, failure)) << failure.message;
  ending.join();
  sqlite3_close(connection);
}

}  // namespace
}  // namespace kyv_internal
