// What every store does, whatever it is made of. A store joins by its name in the last line; one that cannot be reached
// is skipped.

#include "platform/sdk/event_store.h"

#include <gmock/gmock.h>
#include <signal.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "tests/sdk/store_fixture.h"

namespace kyv_internal {
namespace {

const StreamDefinition kTable{"Trades", 17, {{"Id", 2}, {"Name", 5}, {"Price", 30U | 2U << 8 | 10U << 14}}, {1, 0}};
const StreamDefinition kLog{"Log", -1, {{"Zeile", 5}, {"\xC3\xA4'\";--", 2}}, {}};

struct Change {
  RowChange change;
  std::string key;
  std::string record;
};
using Changes = std::vector<Change>;

class EventStoreTest : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    Failure failure;
    if (openStore(project_, failure) == nullptr)
      GTEST_SKIP() << "NOT TESTED: " << GetParam() << ": " << failure.message;
  }

  std::unique_ptr<EventStore> open() const {
    Failure failure;
    auto store = openStore(project_, failure);
    EXPECT_NE(store, nullptr) << failure.message;
    return store;
  }

  std::unique_ptr<EventStore> openWith(const StreamDefinition& stream) const {
    auto store = open();
    Failure failure;
    EXPECT_TRUE(store->defineStream(stream, failure)) << failure.message;
    return store;
  }

 private:
  const kyv_test::StoreFolder folder_{GetParam()};
  const ProjectAddress project_ = kyv_test::newProject();
};

// The failure's text, "" when it is done.
std::string publish(EventStore& store, const StreamDefinition& stream, const Changes& changes,
                    const Delivery* delivery = nullptr) {
  std::vector<PublishedRow> rows;
  for (const Change& change : changes) rows.push_back({change.change, change.key, change.record});
  Failure failure;
  const bool done = store.publish(stream, rows, delivery, failure);
  EXPECT_EQ(done, failure.message.empty());
  return failure.message;
}

pid_t inProcess(const std::function<void()>& body) {
  const pid_t child = fork();
  if (child == 0) {
    body();
    _exit(testing::Test::HasFailure() ? 1 : 0);
  }
  return child;
}

int statusOf(pid_t child) {
  int status = -1;
  waitpid(child, &status, 0);
  return status;
}

Changes appended(const std::vector<std::string>& records) {
  Changes changes;
  for (const std::string& record : records) changes.push_back({RowChange::Append, "", record});
  return changes;
}

// The records behind a number, which becomes that of the last one.
std::vector<std::string> rowsBehind(EventStore& store, const StreamDefinition& stream, std::int64_t& number) {
  std::vector<std::string> records;
  for (;;) {
    RowChunk chunk;
    Failure failure;
    EXPECT_TRUE(store.read(stream, number, chunk, failure)) << failure.message;
    if (chunk.rows.empty()) return records;
    for (const RowChunk::Row& row : chunk.rows) {
      EXPECT_GT(row.number, number);
      number = row.number;
      records.emplace_back(chunk.record(row));
    }
  }
}

std::vector<std::string> allRows(EventStore& store, const StreamDefinition& stream) {
  std::int64_t number = 0;
  return rowsBehind(store, stream, number);
}

Delivery taken(EventStore& store, const std::string& adapter) {
  Delivery delivery{adapter, 0, {}};
  Failure failure;
  EXPECT_TRUE(store.takeDelivery(adapter, Take::IfFree, delivery.fence, failure)) << failure.message;
  return delivery;
}

// The code of what taking the delivery failed of; KYV_ERROR_NONE when it is taken, and the fence that of the taker.
std::int32_t take(EventStore& store, const std::string& adapter, Take how, std::int64_t& fence) {
  Failure failure;
  const bool done = store.takeDelivery(adapter, how, fence, failure);
  EXPECT_EQ(done, failure.code == KYV_ERROR_NONE) << failure.message;
  return failure.code;
}

std::optional<DeliveryKey> storedKey(EventStore& store, const std::string& adapter) {
  std::optional<DeliveryKey> key = DeliveryKey{-1, -1};
  Failure failure;
  EXPECT_TRUE(store.readDelivery(adapter, key, failure)) << failure.message;
  return key;
}

TEST_P(EventStoreTest, MakesNoProjectForWhoOnlyReads) {
  ProjectAddress project = kyv_test::newProject();
  project.ifMissing = IfMissing::Fail;
  for (const bool isThere : {false, true}) {
    Failure failure;
    EXPECT_EQ(openStore(project, failure) != nullptr, isThere) << failure.message;
    EXPECT_EQ(failure.code, isThere ? KYV_ERROR_NONE : KYV_ERROR_MISSING) << failure.message;
    project.ifMissing = IfMissing::Create;
    EXPECT_NE(openStore(project, failure), nullptr) << failure.message;
    project.ifMissing = IfMissing::Fail;
  }
}

TEST_P(EventStoreTest, KeepsDefinitionsOfStreams) {
  const auto store = openWith(kTable);
  const auto other = open();
  Failure failure;
  EXPECT_TRUE(other->defineStream(kLog, failure));
  EXPECT_TRUE(other->defineStream(kTable, failure)) << "the same again: " << failure.message;
  for (const StreamDefinition* stream : {&kTable, &kLog}) {
    StreamDefinition found;
    ASSERT_TRUE(store->findStream(stream->name, found, failure)) << failure.message;
    EXPECT_EQ(found, *stream);
  }
  StreamDefinition changed = kTable;
  changed.key = {0, 1};
  EXPECT_FALSE(store->defineStream(changed, failure));
  EXPECT_EQ(failure.code, KYV_ERROR_REFUSED);
  EXPECT_EQ(failure.message, "stream 'Trades' is there with another definition");
  EXPECT_FALSE(store->findStream("trades", changed, failure));
  EXPECT_EQ(failure.code, KYV_ERROR_MISSING);
  EXPECT_EQ(failure.message, "the project has no stream 'trades'");
}

TEST_P(EventStoreTest, LogsKeepEveryRowInOrder) {
  const std::string bytes("\0\xFF\0x", 4);
  const std::string large(3000000, 'l');
  const auto store = openWith(kLog);
  EXPECT_EQ(publish(*store, kLog, appended({"a", bytes, "a"})), "");
  EXPECT_EQ(publish(*store, kLog, {}), "");
  EXPECT_EQ(publish(*store, kLog, appended({large})), "");
  EXPECT_EQ(publish(*store, kLog, appended({"b"})), "");
  EXPECT_EQ(allRows(*store, kLog), (std::vector<std::string>{"a", bytes, "a", large, "b"}));

  std::vector<std::string> many;
  for (int i = 0; i < 10000; ++i) many.push_back(std::to_string(i));
  std::int64_t number = 0;
  rowsBehind(*store, kLog, number);
  EXPECT_EQ(publish(*store, kLog, appended(many)), "");
  EXPECT_EQ(rowsBehind(*store, kLog, number), many);
  EXPECT_TRUE(rowsBehind(*store, kLog, number).empty());
}

TEST_P(EventStoreTest, TablesActOnTheKey) {
  constexpr const char* kMissing = "row 1 of 1: stream 'Trades' has no row with this key";
  const struct {
    Changes before;
    Change change;
    std::vector<std::string> rows;  // afterwards
    const char* message;
  } cases[] = {
      {{}, {RowChange::Insert, "k", "1"}, {"1"}, ""},
      {{}, {RowChange::Upsert, "k", "1"}, {"1"}, ""},
      {{}, {RowChange::Update, "k", "1"}, {}, kMissing},
      {{}, {RowChange::Delete, "k", "1"}, {}, kMissing},
      {{}, {RowChange::DeleteIfThere, "k", "1"}, {}, ""},
      {{{RowChange::Insert, "k", "0"}},
       {RowChange::Insert, "k", "1"},
       {"0"},
       "row 1 of 1: stream 'Trades' already has a row with this key"},
      {{{RowChange::Insert, "k", "0"}}, {RowChange::Upsert, "k", "1"}, {"1"}, ""},
      {{{RowChange::Insert, "k", "0"}}, {RowChange::Update, "k", "1"}, {"1"}, ""},
      {{{RowChange::Insert, "k", "0"}}, {RowChange::Delete, "k", "1"}, {}, ""},
      {{{RowChange::Insert, "k", "0"}}, {RowChange::DeleteIfThere, "k", "1"}, {}, ""},
      {{{RowChange::Upsert, "k", "0"}, {RowChange::Delete, "k", "x"}}, {RowChange::Insert, "k", "1"}, {"1"}, ""},
      {{{RowChange::Upsert, "k", "0"}, {RowChange::Delete, "k", "x"}}, {RowChange::Update, "k", "1"}, {}, kMissing},
      {{{RowChange::Upsert, "k", "0"}, {RowChange::Delete, "k", "x"}}, {RowChange::Delete, "k", "1"}, {}, kMissing},
      {{{RowChange::Upsert, "a", "a"}, {RowChange::Upsert, "k", "0"}}, {RowChange::Upsert, "a", "1"}, {"0", "1"}, ""},
      {{{RowChange::Upsert, std::string("k\0", 2), "0"}}, {RowChange::Upsert, "k", "1"}, {"0", "1"}, ""},
      {{{RowChange::Upsert, "K", "0"}}, {RowChange::Insert, "k", "1"}, {"0", "1"}, ""},
  };
  StreamDefinition stream = kTable;
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    SCOPED_TRACE("case " + std::to_string(i));
    Failure failure;
    stream.id = static_cast<std::int32_t>(i);
    const auto fresh = openStore({"localhost:0", "test", "case", std::to_string(i)}, failure);
    ASSERT_TRUE(fresh->defineStream(stream, failure)) << failure.message;
    ASSERT_EQ(publish(*fresh, stream, cases[i].before), "");
    EXPECT_EQ(publish(*fresh, stream, {cases[i].change}), cases[i].message);
    EXPECT_EQ(allRows(*fresh, stream), cases[i].rows);
  }
}

TEST_P(EventStoreTest, ReadersOfATableSeeWhatChangedSinceThen) {
  const auto writer = openWith(kTable);
  const auto reader = open();
  EXPECT_EQ(publish(*writer, kTable, {{RowChange::Upsert, "a", "a1"}, {RowChange::Upsert, "b", "b1"}}), "");
  std::int64_t number = 0;
  EXPECT_EQ(rowsBehind(*reader, kTable, number), (std::vector<std::string>{"a1", "b1"}));
  EXPECT_EQ(publish(*writer, kTable,
                    {{RowChange::Delete, "a", "a gone"},
                     {RowChange::Update, "b", "b2"},
                     {RowChange::Upsert, "b", "b3"},
                     {RowChange::DeleteIfThere, "c", "never there"}}),
            "");
  EXPECT_EQ(rowsBehind(*reader, kTable, number), (std::vector<std::string>{"a gone", "b3"}));
  EXPECT_EQ(allRows(*reader, kTable), (std::vector<std::string>{"b3"})) << "a new reader does not see deletes";
}

TEST_P(EventStoreTest, PublishesAllOrNothing) {
  const auto store = openWith(kTable);
  Delivery delivery = taken(*store, "adapter");
  delivery.key = DeliveryKey{1, 2};
  EXPECT_EQ(publish(*store, kTable, {{RowChange::Insert, "a", "a"}, {RowChange::Insert, "b", "b"}}, &delivery), "");
  std::int64_t number = 0;
  rowsBehind(*store, kTable, number);

  delivery.key = DeliveryKey{2, 1};
  EXPECT_EQ(
      publish(*store, kTable,
              {{RowChange::Insert, "c", "c"}, {RowChange::Delete, "a", "a"}, {RowChange::Update, "d", "d"}}, &delivery),
      "row 3 of 3: stream 'Trades' has no row with this key");
  EXPECT_TRUE(rowsBehind(*store, kTable, number).empty());
  EXPECT_EQ(allRows(*store, kTable), (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(storedKey(*store, "adapter"), (DeliveryKey{1, 2}));
  EXPECT_EQ(publish(*store, kTable, {{RowChange::Insert, "c", "c"}}, &delivery), "") << "and goes on afterwards";
  EXPECT_EQ(storedKey(*store, "adapter"), (DeliveryKey{2, 1}));
}

TEST_P(EventStoreTest, KeepsAKeyPerAdapterAndLetsTheLastTakerWrite) {
  constexpr std::int64_t kLowest = std::numeric_limits<std::int64_t>::min();
  const auto store = openWith(kLog);
  const auto second = open();
  EXPECT_EQ(storedKey(*store, "a"), std::nullopt);
  Delivery first = taken(*store, "a");
  EXPECT_EQ(storedKey(*store, "a"), std::nullopt);
  Delivery other = taken(*store, "b'\xC3\xA4");
  first.key = DeliveryKey{kLowest, 0};
  other.key = DeliveryKey{0, 7};
  EXPECT_EQ(publish(*store, kLog, {}, &first), "");
  EXPECT_EQ(publish(*store, kLog, appended({"1"}), &other), "");

  Delivery replacement{"a", 0, {}};
  EXPECT_EQ(take(*second, "a", Take::Anyway, replacement.fence), KYV_ERROR_NONE);
  EXPECT_GT(replacement.fence, first.fence);
  EXPECT_EQ(storedKey(*second, "a"), (DeliveryKey{kLowest, 0})) << "taking over changes no key";
  Failure failure;
  first.key = DeliveryKey{5, 5};
  for (const bool withKey : {true, false}) {
    if (!withKey) first.key.reset();
    const PublishedRow row{RowChange::Append, "", "late"};
    EXPECT_FALSE(store->publish(kLog, {&row, 1}, &first, failure));
    EXPECT_EQ(failure.code, KYV_ERROR_REPLACED);
    EXPECT_EQ(failure.message, "another publisher has taken over the delivery of adapter 'a'");
  }
  replacement.key = DeliveryKey{6, 0};
  EXPECT_EQ(publish(*second, kLog, appended({"2"}), &replacement), "");
  EXPECT_EQ(storedKey(*store, "a"), (DeliveryKey{6, 0}));
  EXPECT_EQ(storedKey(*store, "b'\xC3\xA4"), (DeliveryKey{0, 7}));
  EXPECT_EQ(allRows(*store, kLog), (std::vector<std::string>{"1", "2"}));
}

TEST_P(EventStoreTest, OneStoreHoldsADeliveryAtATime) {
  auto first = openWith(kLog);
  const auto second = open();
  std::int64_t fence = taken(*first, "a").fence;
  std::int64_t other = 0;
  EXPECT_EQ(take(*second, "a", Take::IfFree, other), KYV_ERROR_HELD);
  EXPECT_EQ(take(*first, "a", Take::IfStillMine, fence), KYV_ERROR_NONE) << "its own";
  EXPECT_EQ(take(*second, "a", Take::IfFree, other), KYV_ERROR_HELD);
  taken(*first, "b");
  EXPECT_EQ(take(*second, "a", Take::IfFree, other), KYV_ERROR_NONE) << "one delivery a store";
  EXPECT_GT(other, fence);
  EXPECT_EQ(take(*first, "a", Take::IfStillMine, fence), KYV_ERROR_REPLACED);
  EXPECT_EQ(take(*first, "a", Take::Anyway, fence), KYV_ERROR_NONE);
  EXPECT_GT(fence, other);

  const auto third = open();
  EXPECT_EQ(take(*third, "a", Take::IfFree, other), KYV_ERROR_HELD);
  first.reset();
  EXPECT_EQ(take(*third, "a", Take::IfStillMine, fence), KYV_ERROR_NONE) << "of a connection that was lost";
  EXPECT_EQ(take(*second, "a", Take::IfFree, other), KYV_ERROR_HELD) << "the one that was replaced too";
}

TEST_P(EventStoreTest, ListsStreamsInTheOrderOfTheirNames) {
  const auto store = open();
  std::vector<std::string> names{"x"};
  Failure failure;
  EXPECT_TRUE(store->listStreams(names, failure)) << failure.message;
  EXPECT_TRUE(names.empty());
  StreamDefinition stream = kLog;
  for (const char* const name : {"b", "\xC3\xA4", "B", "a_", "a b", "aB"}) {
    stream.name = name;
    EXPECT_TRUE(store->defineStream(stream, failure)) << failure.message;
  }
  EXPECT_TRUE(store->listStreams(names, failure)) << failure.message;
  EXPECT_EQ(names, (std::vector<std::string>{"B", "a b", "aB", "a_", "b", "\xC3\xA4"}));
}

TEST_P(EventStoreTest, WaitsForRowsUntilTheyComeOrTheTimeIsOver) {
  const auto store = openWith(kLog);
  Failure failure;
  bool there = true;
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_TRUE(store->waitForRows(kLog, 0, 60, there, failure)) << failure.message;
  EXPECT_FALSE(there);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(60));
  const pid_t child = inProcess([&] { EXPECT_EQ(publish(*open(), kLog, appended({"a"})), ""); });
  EXPECT_TRUE(store->waitForRows(kLog, 0, 30000, there, failure)) << failure.message;
  EXPECT_TRUE(there);
  EXPECT_EQ(statusOf(child), 0);
  std::int64_t number = 0;
  EXPECT_EQ(rowsBehind(*store, kLog, number), std::vector<std::string>{"a"});
  EXPECT_TRUE(store->waitForRows(kLog, number, 0, there, failure)) << failure.message;
  EXPECT_FALSE(there);
  EXPECT_FALSE(store->waitForRows(kTable, 0, 0, there, failure));
  EXPECT_EQ(failure.code, KYV_ERROR_MISSING);
}

TEST_P(EventStoreTest, RefusesAStreamThatIsNotThere) {
  const auto store = openWith(kLog);
  StreamDefinition stream = kLog;
  stream.columns.pop_back();
  Failure failure;
  RowChunk chunk;
  EXPECT_FALSE(store->read(stream, 0, chunk, failure));
  EXPECT_EQ(failure.message, "the project has no stream 'Log' of this definition");
  EXPECT_EQ(publish(*store, kTable, {}), "the project has no stream 'Trades' of this definition");
}

// The first of them makes the project.
TEST_P(EventStoreTest, SeveralProcessesWriteAtOnceAndLoseNothing) {
  constexpr int kProcesses = 4;
  constexpr int kPublishes = 25;
  std::vector<pid_t> children;
  for (int process = 0; process < kProcesses; ++process) {
    children.push_back(inProcess([&] {
      const auto store = openWith(kLog);
      for (int i = 0; i < kPublishes; ++i) EXPECT_EQ(publish(*store, kLog, appended({std::to_string(process)})), "");
    }));
  }
  for (const pid_t child : children) EXPECT_EQ(statusOf(child), 0);
  const std::vector<std::string> rows = allRows(*open(), kLog);
  EXPECT_EQ(rows.size(), std::size_t{kProcesses * kPublishes});
  for (int process = 0; process < kProcesses; ++process) {
    EXPECT_EQ(std::count(rows.begin(), rows.end(), std::to_string(process)), kPublishes);
  }
}

TEST_P(EventStoreTest, AKilledWriterLeavesRowsAndKeyThatAgreeAndAllThatItAcknowledged) {
  int pipeEnds[2];
  ASSERT_EQ(pipe(pipeEnds), 0);
  const pid_t child = inProcess([&] {
    const auto store = openWith(kLog);
    Delivery delivery = taken(*store, "adapter");
    for (std::int64_t i = 1;; ++i) {
      delivery.key = DeliveryKey{i, 0};
      EXPECT_EQ(publish(*store, kLog, appended({"x", "y"}), &delivery), "");
      if (write(pipeEnds[1], &i, sizeof i) != sizeof i) return;
    }
  });
  close(pipeEnds[1]);
  std::int64_t acknowledged = 0;
  while (acknowledged < 20 && read(pipeEnds[0], &acknowledged, sizeof acknowledged) == sizeof acknowledged) {
  }
  kill(child, SIGKILL);
  statusOf(child);
  while (read(pipeEnds[0], &acknowledged, sizeof acknowledged) == sizeof acknowledged) {
  }
  close(pipeEnds[0]);

  const auto store = open();
  const std::optional<DeliveryKey> key = storedKey(*store, "adapter");
  ASSERT_TRUE(key);
  EXPECT_GE(key->key, acknowledged);
  EXPECT_LE(key->key, acknowledged + 1);
  EXPECT_EQ(allRows(*store, kLog).size(), static_cast<std::size_t>(2 * key->key));
}

TEST_P(EventStoreTest, AHolderThatDiesLetsItsDeliveryGo) {
  int pipeEnds[2];
  ASSERT_EQ(pipe(pipeEnds), 0);
  const pid_t child = inProcess([&] {
    const auto store = openWith(kLog);
    const std::int64_t fence = taken(*store, "adapter").fence;
    if (write(pipeEnds[1], &fence, sizeof fence) == sizeof fence) pause();
  });
  std::int64_t fence = 0;
  ASSERT_EQ(read(pipeEnds[0], &fence, sizeof fence), static_cast<ssize_t>(sizeof fence));
  const auto store = openWith(kLog);
  std::int64_t mine = 0;
  EXPECT_EQ(take(*store, "adapter", Take::IfFree, mine), KYV_ERROR_HELD);
  kill(child, SIGKILL);
  statusOf(child);
  EXPECT_EQ(take(*store, "adapter", Take::IfFree, mine), KYV_ERROR_NONE);
  EXPECT_GT(mine, fence);
  for (const int end : pipeEnds) close(end);
}

INSTANTIATE_TEST_SUITE_P(Stores, EventStoreTest, testing::Values("sqlite", "postgres"),
                         [](const auto& store) { return std::string(store.param); });

}  // namespace
}  // namespace kyv_internal
