// Pools and transactions. The rows borrow schemas, or own schemas that count how many rows are gone.

#include "kyv/connection_row_pool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "kyv/connection_row_by_order.h"
#include "kyv/data_types.h"
#include "kyv/flat.h"
#include "kyv/stream_schema.h"
#include "tests/support/bytes.h"
#include "tests/support/row_text.h"
#include "tests/support/test_schema.h"

namespace {

using kyv_test::SchemaCounts;
using kyv_test::TestSchema;

// A row that says when it is made and when it goes.
class CountedRow : public ConnectionRowByOrder {
 public:
  struct Counts {
    int made = 0;
    int gone = 0;
    bool memoryIsExhausted = false;
  };

  explicit CountedRow(Counts& counts) : counts_(counts) { ++counts_.made; }
  ~CountedRow() override { ++counts_.gone; }
  ConnectionRow* createNew() override {
    if (counts_.memoryIsExhausted) throw std::bad_alloc();
    return new CountedRow(counts_);
  }

 private:
  Counts& counts_;
};

class Pool : public testing::Test {
 protected:
  std::string counts() const {
    return std::to_string(counts_.made) + " made, " + std::to_string(counts_.gone) + " gone";
  }

  CountedRow::Counts counts_;
  ConnectionRowPool pool_;
};

TEST_F(Pool, WithoutAPrototypeHandsOutNothing) {
  ConnectionTrans trans;
  EXPECT_EQ(pool_.alloc(), nullptr);
  EXPECT_FALSE(pool_.allocTrans(&trans, 3));
  EXPECT_TRUE(trans.empty());
  pool_.free(nullptr);
  auto* const stranger = new CountedRow(counts_);
  EXPECT_FALSE(pool_.validate(stranger)) << "its tag is null as the prototype is";
  pool_.free(stranger);
  EXPECT_EQ(counts(), "1 made, 1 gone");
}

TEST_F(Pool, HandsOutTheRowThatCameBackLastAndMakesNoOther) {
  pool_.setPrototype(new CountedRow(counts_));
  ConnectionRow* const first = pool_.alloc();
  ConnectionRow* const second = pool_.alloc();
  EXPECT_TRUE(pool_.validate(first) && pool_.validate(second));
  first->appendFieldAsString("text");
  first->setStreamName("kept");
  pool_.free(first);
  pool_.free(second);
  EXPECT_EQ(pool_.alloc(), second);
  EXPECT_EQ(pool_.alloc(), first);
  EXPECT_EQ(first->size(), 0) << "data are cleared";
  EXPECT_EQ(first->getStreamName(), "kept") << "settings are not";
  EXPECT_EQ(counts(), "3 made, 0 gone");
  pool_.free(first);
  delete second;
}

TEST_F(Pool, DeletesRowsOfAFormerPrototypeWhenTheyComeBack) {
  pool_.setPrototype(new CountedRow(counts_));
  ConnectionRow* const out = pool_.alloc();
  pool_.free(pool_.alloc());
  EXPECT_EQ(counts(), "3 made, 0 gone");
  pool_.setPrototype(new CountedRow(counts_));
  EXPECT_EQ(counts(), "4 made, 2 gone") << "the prototype and the free row";
  EXPECT_FALSE(pool_.validate(out));
  pool_.free(out);
  EXPECT_EQ(counts(), "4 made, 3 gone");
  pool_.setPrototype(nullptr);
  EXPECT_EQ(counts(), "4 made, 4 gone");
  EXPECT_EQ(pool_.alloc(), nullptr);
}

// A prototype in memory of the test's, so that the next one lies at the same address.
class PlacedRow : public ConnectionRowByOrder {
 public:
  static void* operator new(std::size_t) { return place_; }
  static void operator delete(void*) {}

 private:
  alignas(std::max_align_t) static inline unsigned char place_[sizeof(ConnectionRowByOrder)];
};

TEST_F(Pool, KnowsAFormerPrototypesRowsThoughANewOneLiesAtItsAddress) {
  pool_.setPrototype(new PlacedRow);
  ConnectionRow* const out = pool_.alloc();
  pool_.setPrototype(nullptr);
  pool_.setPrototype(new PlacedRow);
  EXPECT_FALSE(pool_.validate(out));
  pool_.free(out);
  ConnectionRow* const fresh = pool_.alloc();
  EXPECT_TRUE(pool_.validate(fresh));
  pool_.free(fresh);
}

TEST_F(Pool, KeepsAllWhenTheCurrentPrototypeIsSetAgain) {
  auto* const prototype = new CountedRow(counts_);
  pool_.setPrototype(prototype);
  ConnectionRow* const row = pool_.alloc();
  pool_.free(row);
  pool_.setPrototype(prototype);
  EXPECT_EQ(counts(), "2 made, 0 gone");
  EXPECT_EQ(pool_.alloc(), row);
  pool_.free(row);
}

TEST_F(Pool, FillsAndEmptiesTransactions) {
  ConnectionTrans trans;
  pool_.setPrototype(new CountedRow(counts_));
  EXPECT_TRUE(pool_.allocTrans(&trans, 3));
  EXPECT_EQ(trans.size(), 3U);
  const ConnectionTrans rows = trans;
  pool_.freeTrans(&trans);
  EXPECT_TRUE(trans.empty());
  EXPECT_EQ(counts(), "4 made, 0 gone") << "rows of a freed transaction are kept";
  EXPECT_EQ(pool_.alloc(), rows[2]) << "freed in order";
  pool_.free(rows[2]);
  for (const int count : {0, -1}) {
    EXPECT_TRUE(pool_.allocTrans(&trans, count)) << count;
    EXPECT_TRUE(trans.empty()) << count;
  }
}

TEST_F(Pool, DeletesTheRowsThatATransactionStillHoldsWhenItIsFilled) {
  ConnectionTrans trans;
  pool_.setPrototype(new CountedRow(counts_));
  EXPECT_TRUE(pool_.allocTrans(&trans, 3));
  EXPECT_TRUE(pool_.allocTrans(&trans, 2));
  EXPECT_EQ(trans.size(), 2U);
  EXPECT_EQ(counts(), "6 made, 3 gone");
  pool_.setPrototype(nullptr);
  EXPECT_FALSE(pool_.allocTrans(&trans, 1));
  EXPECT_TRUE(trans.empty());
  EXPECT_EQ(counts(), "6 made, 6 gone");
}

TEST_F(Pool, StaysUsableWhenMemoryIsExhausted) {
  pool_.setPrototype(new CountedRow(counts_));
  counts_.memoryIsExhausted = true;
  EXPECT_THROW((void)pool_.alloc(), std::bad_alloc);
  counts_.memoryIsExhausted = false;
  pool_.free(pool_.alloc());
}

TEST_F(Pool, LeavesRowsThatAreOutWhenItGoes) {
  std::unique_ptr<ConnectionRow> out;
  {
    ConnectionRowPool pool;
    pool.setPrototype(new CountedRow(counts_));
    out.reset(pool.alloc());
    pool.free(pool.alloc());
  }
  EXPECT_EQ(counts(), "3 made, 2 gone");
}

// Every thread converts rows, alone and in transactions, while one of them goes on changing the prototype.
TEST_F(Pool, ServesSeveralThreads) {
  constexpr int kThreads = 4, kRounds = 300, kRowsATransaction = 3;
  const std::string expected = kyv_test::HandRecord{7, 5, 0, 1, {28, 32}, "07000000"}.bytes();
  const auto makePrototype = [] {
    auto row = std::make_unique<ConnectionRowByOrder>();
    row->setStreamType(new kyv::StreamSchema("Trades", 5, {{"A", DataTypes::kInteger}}), true);
    return row.release();
  };
  const auto convert = [&](ConnectionRow& row) {
    ConnectionErrors errors;
    row.appendFieldAsString("7");
    EXPECT_EQ(kyv_test::takeHex(row.toRow(1, &errors)), kyv_test::toHex(expected));
  };
  const auto work = [&](bool changesThePrototype) {
    ConnectionTrans trans;
    for (int round = 0; round < kRounds; ++round) {
      if (changesThePrototype && round % 10 == 0) pool_.setPrototype(makePrototype());
      ConnectionRow* const row = pool_.alloc();
      convert(*row);
      pool_.validate(row);
      pool_.free(row);
      ASSERT_TRUE(pool_.allocTrans(&trans, kRowsATransaction));
      for (ConnectionRow* const member : trans) convert(*member);
      pool_.freeTrans(&trans);
    }
  };
  pool_.setPrototype(makePrototype());
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) threads.emplace_back(work, i == 0);
  for (std::thread& thread : threads) thread.join();
}

// A row that is made slowly, and that asks its pool something when it is cleared.
class WatchedRow : public ConnectionRowByOrder {
 public:
  struct Makers {
    std::atomic<int> now = 0;
    std::atomic<int> most = 0;
  };

  WatchedRow(ConnectionRowPool& pool, Makers& makers) : pool_(pool), makers_(makers) {}
  ConnectionRow* createNew() override {
    makers_.most = std::max<int>(makers_.most, ++makers_.now);
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    --makers_.now;
    return new WatchedRow(pool_, makers_);
  }
  void clearData() override { EXPECT_TRUE(pool_.validate(this)) << "would wait for ever if the pool were locked"; }

 private:
  ConnectionRowPool& pool_;
  Makers& makers_;
};

TEST_F(Pool, MakesRowsWhileItIsLockedAndClearsThemWhileItIsNot) {
  constexpr int kThreads = 4;
  WatchedRow::Makers makers;
  pool_.setPrototype(new WatchedRow(pool_, makers));
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) threads.emplace_back([this] { pool_.free(pool_.alloc()); });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(makers.most, 1);
}

void* newRecord(char first) {
  auto* const record = static_cast<char*>(std::malloc(4));
  record[0] = first;
  return record;
}

TEST(RawTransaction, OwnsItsRecords) {
  ConnectionRawTrans trans;
  for (const int index : {-1, 0, 1}) EXPECT_EQ(trans.get(index), nullptr) << index;
  void* const records[] = {newRecord('a'), newRecord('b'), nullptr};
  for (void* const record : records) trans.pushBack(record);
  EXPECT_EQ(trans.size(), 3);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(trans.get(i), records[i]) << i;
  EXPECT_EQ(trans.get(3), nullptr);
  EXPECT_EQ(trans.get(-1), nullptr);
  trans.clear();
  EXPECT_EQ(trans.size(), 0);
  trans.pushBack(newRecord('c'));  // freed with the transaction, as a leak checker sees
}

// The flat functions, on a prototype that only C++ can make.
TEST(FlatPool, KeepsNoHandleAndLetsNoExceptionOut) {
  CountedRow::Counts counts;
  ConnectionRowPoolHandle* const pool = createConnectionRowPool();
  ConnectionRowHandle* const none = alloc(pool);
  ASSERT_NE(none, nullptr);
  EXPECT_EQ(*static_cast<ConnectionRow**>(static_cast<void*>(none)), nullptr);
  EXPECT_FALSE(validateConnectionRow(pool, none));
  freeConnectionRow(pool, none);
  freeConnectionRow(pool, nullptr);

  ConnectionRowHandle* const prototype = createConnectionRow("RowBinary");
  *static_cast<ConnectionRow**>(static_cast<void*>(prototype)) = new CountedRow(counts);
  setPrototype(pool, prototype);
  counts.memoryIsExhausted = true;
  EXPECT_EQ(alloc(pool), nullptr);
  ConnectionTrans* const trans = createConnectionTrans();
  EXPECT_FALSE(allocTrans(pool, trans, 2));
  EXPECT_EQ(getConnectionTransSize(trans), 0);
  counts.memoryIsExhausted = false;
  EXPECT_TRUE(allocTrans(pool, trans, 2));
  deleteConnectionTrans(trans);
  EXPECT_EQ(counts.gone, 2) << "a transaction is deleted with its rows";
  deleteConnectionRowPool(pool);
  EXPECT_EQ(counts.gone, counts.made);
}

}  // namespace
