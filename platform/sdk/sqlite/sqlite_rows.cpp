// Publishing and reading rows.

#include <algorithm>
#include <chrono>
#include <limits>
#include <thread>
#include <utility>

#include "platform/sdk/refusals.h"
#include "platform/sdk/sqlite/row_sum.h"
#include "platform/sdk/sqlite/sqlite_store.h"

namespace kyv_internal {

namespace {

constexpr std::size_t kChunkBytes = std::size_t{1} << 20;
constexpr std::size_t kChunkRows = 4096;

// A number that is there already is damage, and fails; a key is not.
constexpr const char* kAppend = "INSERT INTO rows_N (number, key, gone, sum, record) VALUES (?1, ?2, ?3, ?4, ?5)";
constexpr const char* kUpsert =
    "INSERT INTO rows_N (number, key, gone, sum, record) VALUES (?1, ?2, ?3, ?4, ?5) ON CONFLICT (key) DO UPDATE SET "
    "number = excluded.number, gone = excluded.gone, sum = excluded.sum, record = excluded.record";
constexpr const char* kFind = "SELECT 1 FROM rows_N WHERE key = ?1 AND gone = 0";
constexpr const char* kRead =
    "SELECT number, key, gone, sum, record FROM rows_N WHERE number > ?1 AND (gone = 0 OR ?1 > 0) ORDER BY number";
constexpr const char* kLook = "SELECT 1 FROM rows_N WHERE number > ?1 AND (gone = 0 OR ?1 > 0) LIMIT 1";

// Whether a change depends on what is there.
bool needsLook(RowChange change) { return change != RowChange::Append && change != RowChange::Upsert; }

}  // namespace

bool SqliteStore::publish(const StreamDefinition& stream, std::span<const PublishedRow> rows, const Delivery* delivery,
                          Failure& failure) {
  Transaction transaction(file_);
  if (!transaction.beginWrite(failure)) return false;
  RowTable* const table = tableOf(stream, failure);
  if (table == nullptr || (delivery != nullptr && !checkFence(*delivery, failure)) || !putRows(*table, rows, failure)) {
    return false;
  }
  if (delivery != nullptr && delivery->key && !storeKey(*delivery, failure)) return false;
  return transaction.commit(failure);
}

bool SqliteStore::lastRow(const RowTable& table, std::int64_t& number, Failure& failure) {
  if (!prepare(lastRow_, "SELECT last_row FROM stream WHERE number = ?1", failure)) return false;
  Run row(lastRow_);
  if (row.bind(1, table.number).step() != Step::Row) return file_.fails(failure);
  number = row.number(0);
  return number >= 0 || file_.isDamaged(failure);
}

bool SqliteStore::setLastRow(const RowTable& table, std::int64_t number, Failure& failure) {
  return prepare(setLastRow_, "UPDATE stream SET last_row = ?2 WHERE number = ?1", failure) &&
         (Run(setLastRow_).bind(1, table.number).bind(2, number).finish() || file_.fails(failure));
}

bool SqliteStore::putRows(RowTable& table, std::span<const PublishedRow> rows, Failure& failure) {
  if (rows.empty()) return true;
  std::int64_t number = 0;
  const bool isTable = table.stream.isTable();
  if (!prepareOn(table, table.put, isTable ? kUpsert : kAppend, failure) ||
      (isTable && !prepareOn(table, table.find, kFind, failure)) || !lastRow(table, number, failure)) {
    return false;
  }
  if (number > std::numeric_limits<std::int64_t>::max() - std::ssize(rows)) return file_.isDamaged(failure);
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const Presence found = presence(table, rows[i]);
    if (found == Presence::Failed) return file_.fails(failure);
    if (found == Presence::Absent && rows[i].change == RowChange::DeleteIfThere) continue;
    if (found == Presence::Absent && rows[i].change != RowChange::Insert) {
      return refuseMissingKey({i, rows.size()}, table.stream.name, failure);
    }
    if (found == Presence::There && rows[i].change == RowChange::Insert) {
      return refuseKnownKey({i, rows.size()}, table.stream.name, failure);
    }
    if (!putRow(table, rows[i], ++number)) return file_.fails(failure);
  }
  return setLastRow(table, number, failure);
}

SqliteStore::Presence SqliteStore::presence(const RowTable& table, const PublishedRow& row) {
  if (!needsLook(row.change)) return Presence::Unknown;
  switch (Run(table.find).bindBytes(1, row.key).step()) {
    case Step::Row:
      return Presence::There;
    case Step::Done:
      return Presence::Absent;
    case Step::Failed:
      break;
  }
  return Presence::Failed;
}

bool SqliteStore::putRow(const RowTable& table, const PublishedRow& row, std::int64_t number) {
  const bool gone = row.change == RowChange::Delete || row.change == RowChange::DeleteIfThere;
  Run put(table.put);
  put.bind(1, number).bind(3, gone ? 1 : 0).bind(4, rowSum(number, gone, row.key, row.record)).bindBytes(5, row.record);
  if (table.stream.isTable()) put.bindBytes(2, row.key);
  return put.finish();
}

bool SqliteStore::read(const StreamDefinition& stream, std::int64_t after, RowChunk& chunk, Failure& failure) {
  chunk.bytes.clear();
  chunk.rows.clear();
  Transaction oneMoment(file_);
  if (!oneMoment.beginRead(failure)) return false;
  RowTable* const table = tableOf(stream, failure);
  std::int64_t last = 0;
  return table != nullptr && prepareOn(*table, table->read, kRead, failure) && lastRow(*table, last, failure) &&
         readRows(*table, after, last, chunk, failure);
}

// Rows that are missing, changed or out of order are damage; a log has a row of every number up to the last.
bool SqliteStore::readRows(const RowTable& table, std::int64_t after, std::int64_t last, RowChunk& chunk,
                           Failure& failure) {
  const bool isLog = !table.stream.isTable();
  Run row(table.read);
  row.bind(1, after);
  std::int64_t number = after;
  while (chunk.rows.size() < kChunkRows && chunk.bytes.size() < kChunkBytes) {
    const Step step = row.step();
    if (step == Step::Failed) return file_.fails(failure);
    if (step == Step::Done) return !isLog || number >= last || file_.isDamaged(failure);
    const std::int64_t before = std::exchange(number, row.number(0));
    const std::string_view record = row.bytes(4);
    const bool sound = number > before && number <= last && (!isLog || number == before + 1) &&
                       row.number(3) == rowSum(number, row.number(2) != 0, row.bytes(1), record);
    if (!sound) return file_.isDamaged(failure);
    chunk.rows.push_back({number, chunk.bytes.size(), record.size()});
    chunk.bytes.append(record);
  }
  return true;
}

bool SqliteStore::isThere(const RowTable& table, std::int64_t after, bool& there, Failure& failure) {
  Run row(table.look);
  const Step found = row.bind(1, after).step();
  there = found == Step::Row;
  return found != Step::Failed || file_.fails(failure);
}

// Nobody tells a process that another one has committed: it looks again and again.
bool SqliteStore::waitForRows(const StreamDefinition& stream, std::int64_t after, std::int32_t milliseconds,
                              bool& there, Failure& failure) {
  using Clock = std::chrono::steady_clock;
  constexpr std::chrono::nanoseconds kFirstPause = std::chrono::microseconds(500);
  constexpr std::chrono::nanoseconds kLongestPause = std::chrono::milliseconds(20);
  const auto until = Clock::now() + std::chrono::milliseconds(milliseconds);
  for (auto pause = kFirstPause;; pause = std::min(2 * pause, kLongestPause)) {
    {
      Transaction oneMoment(file_);
      RowTable* const table = oneMoment.beginRead(failure) ? tableOf(stream, failure) : nullptr;
      if (table == nullptr || !prepareOn(*table, table->look, kLook, failure) ||
          !isThere(*table, after, there, failure)) {
        return false;
      }
    }
    const std::chrono::nanoseconds left = until - Clock::now();
    if (there || left.count() <= 0) return true;
    std::this_thread::sleep_for(std::min(pause, left));
  }
}

}  // namespace kyv_internal
