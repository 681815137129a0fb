// What only the store on a cluster does. Needs a single server, which KYV_STORE_CLUSTER names and where the tests may
// change settings.

#include <gmock/gmock.h>
#include <libpq-fe.h>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/sdk/event_store.h"
#include "platform/sdk/postgres/log_blocks.h"
#include "tests/sdk/store_fixture.h"

namespace kyv_internal {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

const StreamDefinition kLog{"Log", 1, {{"Number", 2}}, {}};
const StreamDefinition kTable{"Table", 2, {{"Name", 5}}, {0}};

// An administrator at work.
std::string sql(const std::string& statement) {
  const std::unique_ptr<PGconn, void (*)(PGconn*)> connection(PQconnectdb(std::getenv("KYV_STORE_CLUSTER")), PQfinish);
  const std::unique_ptr<PGresult, void (*)(PGresult*)> result(PQexec(connection.get(), statement.c_str()), PQclear);
  EXPECT_STREQ(PQresultErrorMessage(result.get()), "") << statement;
  return PQntuples(result.get()) > 0 ? PQgetvalue(result.get(), 0, 0) : "";
}

void setStandbys(const std::string& names) {
  sql("ALTER SYSTEM SET synchronous_standby_names = '" + names + "'");
  sql("SELECT pg_reload_conf()");
  while (sql("SHOW synchronous_standby_names") != names) std::this_thread::sleep_for(std::chrono::milliseconds(5));
}

class PostgresStore : public testing::Test {
 protected:
  void SetUp() override {
    setenv("KYV_STORE_SYNC", "normal", 1);
    setenv("KYV_STORE_WAIT", "9", 1);
  }

  std::unique_ptr<EventStore> open() {
    auto store = openStore(project_, failure_);
    EXPECT_NE(store, nullptr) << failure_.message;
    return store;
  }
  std::unique_ptr<EventStore> openWith(const StreamDefinition& stream) {
    auto store = open();
    EXPECT_TRUE(store->defineStream(stream, failure_)) << failure_.message;
    return store;
  }
  std::string openingFails() {
    failure_ = {};
    EXPECT_EQ(openStore(project_, failure_), nullptr);
    return failure_.message;
  }

  // "" when it is done.
  std::string publish(EventStore& store, const std::string& record, const Delivery* delivery = nullptr) {
    const PublishedRow row{RowChange::Append, "", record};
    failure_ = {};
    store.publish(kLog, {&row, 1}, delivery, failure_);
    return failure_.message;
  }
  std::string rows(EventStore& store, const StreamDefinition& stream = kLog) {
    RowChunk chunk;
    EXPECT_TRUE(store.read(stream, 0, chunk, failure_)) << failure_.message;
    return chunk.bytes;
  }
  Delivery take(EventStore& store) {
    Delivery delivery{"adapter", 0, {}};
    EXPECT_TRUE(store.takeDelivery("adapter", Take::IfFree, delivery.fence, failure_)) << failure_.message;
    return delivery;
  }

  Failure failure_;
  const kyv_test::StoreFolder folder_{"postgres"};
  const ProjectAddress project_ = kyv_test::newProject();
};

TEST_F(PostgresStore, SaysWhichSettingIsWrong) {
  const std::string address = std::getenv("KYV_STORE_CLUSTER");
  const struct {
    const char* variable;
    std::string value;
    const char* message;  // the beginning of it
    std::int32_t code;
  } cases[] = {
      {"KYV_STORE_SYNC", "fast", "KYV_STORE_SYNC is 'fast', not full or normal", KYV_ERROR_USAGE},
      {"KYV_STORE_WAIT", "-1", "KYV_STORE_WAIT is '-1', no number of seconds from 0 to 86400", KYV_ERROR_USAGE},
      {"KYV_STORE_WAIT", "1s", "KYV_STORE_WAIT is '1s', no number of seconds from 0 to 86400", KYV_ERROR_USAGE},
      {"KYV_STORE_CLUSTER", "", "KYV_STORE_CLUSTER is not set: no address of a cluster", KYV_ERROR_USAGE},
      {"KYV_STORE_CLUSTER", "host", "KYV_STORE_CLUSTER is no connection string: ", KYV_ERROR_USAGE},
      {"KYV_STORE_CLUSTER", "host=127.0.0.1 port=1", "the cluster was given up after 0 s: ", KYV_ERROR_STORE},
      {"KYV_STORE_SYNC", "full", "the server has fsync or full_page_writes off and loses rows in a crash; ",
       KYV_ERROR_STORE},
  };
  for (const auto& wrong : cases) {
    SetUp();
    setenv("KYV_STORE_WAIT", "0", 1);
    setenv(wrong.variable, wrong.value.c_str(), 1);
    EXPECT_THAT(openingFails(), AllOf(StartsWith(wrong.message), Not(HasSubstr("\t")), Not(HasSubstr("  "))));
    EXPECT_EQ(failure_.code, wrong.code) << wrong.message;
    setenv("KYV_STORE_CLUSTER", address.c_str(), 1);
  }
}

TEST_F(PostgresStore, RefusesTablesOfAnotherVersion) {
  open();
  sql("UPDATE kyv.store SET version = 2");
  EXPECT_EQ(openingFails(), "the tables of the schema 'kyv' were made by another version");
  sql("UPDATE kyv.store SET version = 1");
}

TEST_F(PostgresStore, SeveralThreadsMakeTheTablesAtOnce) {
  open();
  sql("DROP SCHEMA kyv CASCADE");
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([this] {
      Failure failure;
      const auto store = openStore(project_, failure);
      EXPECT_TRUE(store != nullptr && store->defineStream(kTable, failure)) << failure.message;
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST_F(PostgresStore, TakesMoreThanOnePieceAtOnce) {
  const auto store = openWith(kLog);
  EXPECT_TRUE(store->defineStream(kTable, failure_));
  const std::string record(1000, 'r');
  constexpr std::size_t kRows = 3 * kPieceBytes / 1000;
  const std::vector<PublishedRow> log(kRows, {RowChange::Append, "", record});
  std::vector<std::string> keys;
  for (std::size_t i = 0; i < kRows; ++i) keys.push_back(std::to_string(i));
  std::vector<PublishedRow> table;
  for (const std::string& key : keys) table.push_back({RowChange::Insert, key, record});
  for (const auto& [stream, changes] : {std::pair(kLog, log), std::pair(kTable, table)}) {
    EXPECT_TRUE(store->publish(stream, changes, nullptr, failure_)) << failure_.message;
    std::int64_t last = 0;
    std::size_t count = 0;
    for (RowChunk chunk; store->read(stream, last, chunk, failure_) && !chunk.rows.empty();) {
      for (const RowChunk::Row& row : chunk.rows) EXPECT_EQ(row.number, ++last);
      count += chunk.rows.size();
      EXPECT_LT(chunk.bytes.size(), std::size_t{2} << 20) << "what is handled at once stays small";
    }
    EXPECT_EQ(count, kRows);
  }
}

TEST_F(PostgresStore, KnowsLongKeysApart) {
  const auto store = openWith(kTable);
  const std::string long1 = std::string(5000, 'k') + "1";
  const std::string long2 = std::string(5000, 'k') + "2";
  const std::vector<PublishedRow> rowsOfBoth = {
      {RowChange::Insert, long1, "1"}, {RowChange::Insert, long2, "2"}, {RowChange::Update, long1, "3"}};
  EXPECT_TRUE(store->publish(kTable, rowsOfBoth, nullptr, failure_)) << failure_.message;
  const PublishedRow gone{RowChange::Delete, long2, ""};
  EXPECT_TRUE(store->publish(kTable, {&gone, 1}, nullptr, failure_)) << failure_.message;
  EXPECT_EQ(rows(*store, kTable), "3");
}

TEST_F(PostgresStore, HoldsItsDeliveryOnANewConnection) {
  const auto store = openWith(kLog);
  const auto other = open();
  Delivery delivery = take(*store);
  delivery.key = DeliveryKey{1, 0};
  for (int i = 0; i < 3; ++i) {
    sql("SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE application_name = 'kyv'");
    EXPECT_EQ(publish(*store, "x", &delivery), "");
    std::int64_t fence = 0;
    EXPECT_FALSE(other->takeDelivery("adapter", Take::IfFree, fence, failure_));
    EXPECT_EQ(failure_.code, KYV_ERROR_HELD) << failure_.message;
  }
  EXPECT_EQ(rows(*store), "xxx");
}

// --- Standbys that do not answer

class WithoutStandby : public PostgresStore {
 protected:
  // The server of the tests does not care for its disk, which "full" would not accept; it waits for standbys all the
  // same once they are set.
  void SetUp() override {
    PostgresStore::SetUp();
    setenv("KYV_STORE_WAIT", "0", 1);
  }
  void TearDown() override { setStandbys(""); }
};

TEST_F(WithoutStandby, ACommitThatNobodyConfirmsEndsWithAFailureAndIsSettledLater) {
  const auto store = openWith(kLog);
  Delivery delivery = take(*store);
  delivery.key = DeliveryKey{7, 0};
  setStandbys("ANY 1 (nobody)");
  EXPECT_EQ(publish(*store, "a", &delivery),
            "the cluster was given up after 0 s: a commit is not confirmed; it waits for a standby, or the server "
            "hangs");
  EXPECT_EQ(failure_.code, KYV_ERROR_STORE);
  std::optional<DeliveryKey> key;
  EXPECT_FALSE(store->readDelivery("adapter", key, failure_)) << "nobody knows yet whether it is done";
  setStandbys("");
  EXPECT_TRUE(store->readDelivery("adapter", key, failure_)) << failure_.message;
  EXPECT_EQ(key, (DeliveryKey{7, 0}));
  EXPECT_EQ(rows(*store), "a");
}

TEST_F(WithoutStandby, ACancelledWaitIsNoConfirmation) {
  const auto store = openWith(kLog);
  Delivery delivery = take(*store);
  delivery.key = DeliveryKey{7, 0};
  for (const bool withKey : {true, false}) {
    EXPECT_EQ(rows(*store), withKey ? "" : "a") << "in a session that lives";
    setStandbys("ANY 1 (nobody)");
    std::thread administrator([] {
      const std::string waiting = "FROM pg_stat_activity WHERE wait_event = 'SyncRep'";
      while (sql("SELECT count(*) " + waiting) == "0") std::this_thread::sleep_for(std::chrono::milliseconds(5));
      sql("SELECT pg_cancel_backend(pid) " + waiting);
    });
    EXPECT_THAT(publish(*store, "a", withKey ? &delivery : nullptr),
                HasSubstr("somebody made the server give up waiting for a standby"));
    EXPECT_EQ(failure_.code, KYV_ERROR_STORE);
    administrator.join();
    setStandbys("");
  }
  EXPECT_EQ(rows(*store), "aa") << "done on the server, and never sent twice";
}

// --- Blocks

TEST(LogBlocks, DamagedOnesAreNotRead) {
  const std::string two("\0\0\0\1a\0\0\0\0", 9);
  const struct {
    std::string block;
    std::int64_t last;
    std::int64_t after;
    bool done;
    std::string bytes;
    std::size_t rows;
  } cases[] = {
      {two, 9, 0, true, "a", 2},
      {two, 9, 8, true, "", 1},
      {two, 2, 2, true, "", 0},
      {two, 1, 0, false, "", 0},
      {two.substr(0, 8), 9, 0, false, "", 0},
      {two.substr(0, 4), 9, 0, false, "", 0},
      {two + "\xFF\xFF\xFF\xFF", 9, 0, false, "", 0},
      {"", 9, 0, true, "", 0},
  };
  for (const auto& block : cases) {
    RowChunk chunk;
    EXPECT_EQ(unpackBlock(block.block, block.last, block.after, chunk), block.done)
        << testing::PrintToString(block.block);
    EXPECT_EQ(chunk.bytes, block.bytes);
    EXPECT_EQ(chunk.rows.size(), block.rows);
  }
}

}  // namespace
}  // namespace kyv_internal
