// The embedded store: a project is one SQLite file. The module's one exported function stands at the end.
//
//   stream          a stream's number here, its name, its id, and the number of its last row
//   stream_column   its columns, and their places in the key
//   rows_N          the rows of stream N: number, key (NULL in a log), whether it is gone, record
//   delivery        per adapter the last fence, and the key that was stored last

#include <algorithm>
#include <chrono>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "kyv/export.h"
#include "platform/sdk/event_store.h"
#include "platform/sdk/refusals.h"
#include "platform/sdk/sqlite/delivery_hold.h"
#include "platform/sdk/sqlite/project_file.h"
#include "platform/sdk/sqlite/statement.h"

namespace kyv_internal {

namespace {

constexpr std::size_t kChunkBytes = std::size_t{1} << 20;
constexpr std::size_t kChunkRows = 4096;

// Which rows a reader gets who has those up to a number.
constexpr std::string_view kBehind = " WHERE number > ?1 AND (gone = 0 OR ?1 > 0)";

using Step = Statement::Step;

// What runs until it is committed or dropped.
class Transaction {
 public:
  explicit Transaction(ProjectFile& file) : file_(file), open_(file.run("BEGIN IMMEDIATE")) {}
  ~Transaction() {
    if (open_) (void)file_.run("ROLLBACK");
  }
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  bool isOpen() const { return open_; }
  [[nodiscard]] bool commit() {
    if (!file_.run("COMMIT")) return false;
    open_ = false;
    return true;
  }

 private:
  ProjectFile& file_;
  bool open_;
};

// Whether a change depends on what is there.
bool needsLook(RowChange change) { return change != RowChange::Append && change != RowChange::Upsert; }

// A stream's rows, and the statements on them, prepared when they are first used.
struct RowTable {
  std::int64_t number = 0;
  Statement put;
  Statement find;
  Statement read;
  Statement look;
};

// An adapter's number, and a fence of its delivery.
struct TakenDelivery {
  std::int64_t adapter = 0;
  std::int64_t fence = 0;
};

class SqliteStore : public EventStore {
 public:
  [[nodiscard]] bool open(const ProjectAddress& project, const Settings& settings, Failure& failure) {
    return file_.open(project, settings, failure);
  }

  bool defineStream(const StreamDefinition& stream, Failure& failure) override;
  bool listStreams(std::vector<std::string>& names, Failure& failure) override;
  bool findStream(const std::string& name, StreamDefinition& stream, Failure& failure) override;
  bool publish(const StreamDefinition& stream, std::span<const PublishedRow> rows, const Delivery* delivery,
               Failure& failure) override;
  bool read(const StreamDefinition& stream, std::int64_t after, RowChunk& chunk, Failure& failure) override;
  bool waitForRows(const StreamDefinition& stream, std::int64_t after, std::int32_t milliseconds, bool& there,
                   Failure& failure) override;
  bool takeDelivery(const std::string& adapter, Take how, std::int64_t& fence, Failure& failure) override;
  bool readDelivery(const std::string& adapter, std::optional<DeliveryKey>& key, Failure& failure) override;

 private:
  enum class Presence { Unknown, Absent, There, Failed };

  bool prepared(Statement& statement, const std::string& sql) {
    return statement.isPrepared() || statement.prepare(file_.connection(), sql);
  }
  bool readStream(const std::string& name, std::optional<StreamDefinition>& stream, std::int64_t& number,
                  Failure& failure);
  bool readColumns(std::int64_t number, StreamDefinition& stream, Failure& failure);
  bool insertStream(const StreamDefinition& stream, Failure& failure);
  bool insertColumns(std::int64_t number, const StreamDefinition& stream);
  // Null on failure.
  RowTable* tableOf(const StreamDefinition& stream, Failure& failure);
  bool isThere(RowTable& table, std::int64_t after, bool& there, Failure& failure);
  bool findDelivery(const std::string& adapter, TakenDelivery& delivery, Failure& failure);
  bool mayTake(const TakenDelivery& stored, const std::string& adapter, Take how, std::int64_t fence, Failure& failure);
  bool setFence(const TakenDelivery& delivery);
  bool checkFence(const Delivery& delivery, Failure& failure);
  bool storeKey(const Delivery& delivery);
  bool lastRow(std::int64_t stream, std::int64_t& number, Failure& failure);
  bool setLastRow(std::int64_t stream, std::int64_t number);
  bool putRows(const StreamDefinition& stream, RowTable& table, std::span<const PublishedRow> rows, Failure& failure);
  Presence presence(RowTable& table, std::string_view key);
  bool putRow(RowTable& table, const PublishedRow& row, std::int64_t number);

  ProjectFile file_;
  std::map<std::string, RowTable> tables_;  // by stream
  DeliveryHold hold_;
  std::optional<TakenDelivery> taken_;
};

// --- Streams
// ----------------------------------------------------------------------------------------------------------

bool SqliteStore::readStream(const std::string& name, std::optional<StreamDefinition>& stream, std::int64_t& number,
                             Failure& failure) {
  Statement select;
  if (!select.prepare(file_.connection(), "SELECT number, id FROM stream WHERE name = ?1")) return file_.fails(failure);
  switch (select.bindText(1, name).step()) {
    case Step::Failed:
      return file_.fails(failure);
    case Step::Done:
      stream.reset();
      return true;
    case Step::Row:
      break;
  }
  number = select.number(0);
  stream.emplace(StreamDefinition{name, static_cast<std::int32_t>(select.number(1)), {}, {}});
  return readColumns(number, *stream, failure);
}

bool SqliteStore::readColumns(std::int64_t number, StreamDefinition& stream, Failure& failure) {
  Statement select;
  constexpr const char* kSelect =
      "SELECT name, type, key_position FROM stream_column WHERE stream = ?1 ORDER BY position";
  if (!select.prepare(file_.connection(), kSelect)) return file_.fails(failure);
  select.bind(1, number);
  std::map<std::int64_t, std::size_t> key;
  Step step = select.step();
  for (; step == Step::Row; step = select.step()) {
    if (!select.isNull(2)) key[select.number(2)] = stream.columns.size();
    stream.columns.push_back({std::string(select.bytes(0)), static_cast<std::uint32_t>(select.number(1))});
  }
  if (step == Step::Failed) return file_.fails(failure);
  for (const auto& [position, column] : key) stream.key.push_back(column);
  return true;
}

bool SqliteStore::listStreams(std::vector<std::string>& names, Failure& failure) {
  Statement select;
  names.clear();
  if (!select.prepare(file_.connection(), "SELECT name FROM stream ORDER BY name")) return file_.fails(failure);
  Step step = select.step();
  for (; step == Step::Row; step = select.step()) names.emplace_back(select.bytes(0));
  return step == Step::Done || file_.fails(failure);
}

bool SqliteStore::findStream(const std::string& name, StreamDefinition& stream, Failure& failure) {
  std::optional<StreamDefinition> found;
  std::int64_t number = 0;
  if (!readStream(name, found, number, failure)) return false;
  if (!found) return refuseMissingStream(name, failure);
  stream = *std::move(found);
  return true;
}

bool SqliteStore::defineStream(const StreamDefinition& stream, Failure& failure) {
  Transaction transaction(file_);
  if (!transaction.isOpen()) return file_.fails(failure);
  std::optional<StreamDefinition> found;
  std::int64_t number = 0;
  if (!readStream(stream.name, found, number, failure)) return false;
  if (found) {
    return *found == stream || refuseOtherDefinition(stream.name, failure);
  }
  return insertStream(stream, failure) && (transaction.commit() || file_.fails(failure));
}

bool SqliteStore::insertStream(const StreamDefinition& stream, Failure& failure) {
  Statement insert;
  if (!insert.prepare(file_.connection(), "INSERT INTO stream (name, id, last_row) VALUES (?1, ?2, 0)") ||
      !insert.bindText(1, stream.name).bind(2, stream.id).run()) {
    return file_.fails(failure);
  }
  const std::int64_t number = sqlite3_last_insert_rowid(file_.connection());
  const std::string rows = "CREATE TABLE rows_" + std::to_string(number) + " (number INTEGER PRIMARY KEY, key BLOB" +
                           (stream.isTable() ? " UNIQUE NOT NULL" : "") +
                           ", gone INTEGER NOT NULL, record BLOB NOT NULL)";
  return (insertColumns(number, stream) && file_.run(rows.c_str())) || file_.fails(failure);
}

bool SqliteStore::insertColumns(std::int64_t number, const StreamDefinition& stream) {
  Statement insert;
  constexpr const char* kInsert =
      "INSERT INTO stream_column (stream, position, name, type, key_position) VALUES (?1, ?2, ?3, ?4, ?5)";
  if (!insert.prepare(file_.connection(), kInsert)) return false;
  for (std::size_t i = 0; i < stream.columns.size(); ++i) {
    const auto place = std::find(stream.key.begin(), stream.key.end(), i);
    insert.bind(1, number).bind(2, static_cast<std::int64_t>(i));
    insert.bindText(3, stream.columns[i].name).bind(4, stream.columns[i].type);
    if (place == stream.key.end()) {
      insert.bindNull(5);
    } else {
      insert.bind(5, place - stream.key.begin());
    }
    if (!insert.run()) return false;
  }
  return true;
}

RowTable* SqliteStore::tableOf(const StreamDefinition& stream, Failure& failure) {
  const auto known = tables_.find(stream.name);
  if (known != tables_.end()) return &known->second;
  std::optional<StreamDefinition> found;
  RowTable table;
  if (!readStream(stream.name, found, table.number, failure)) return nullptr;
  if (!found || *found != stream) {
    refuseChangedStream(stream.name, failure);
    return nullptr;
  }
  return &tables_.emplace(stream.name, std::move(table)).first->second;
}

// --- Rows
// -------------------------------------------------------------------------------------------------------------

bool SqliteStore::publish(const StreamDefinition& stream, std::span<const PublishedRow> rows, const Delivery* delivery,
                          Failure& failure) {
  Transaction transaction(file_);
  if (!transaction.isOpen()) return file_.fails(failure);
  RowTable* const table = tableOf(stream, failure);
  if (table == nullptr || (delivery != nullptr && !checkFence(*delivery, failure)) ||
      !putRows(stream, *table, rows, failure)) {
    return false;
  }
  if (delivery != nullptr && delivery->key && !storeKey(*delivery)) return file_.fails(failure);
  return transaction.commit() || file_.fails(failure);
}

bool SqliteStore::lastRow(std::int64_t stream, std::int64_t& number, Failure& failure) {
  Statement select;
  if (!select.prepare(file_.connection(), "SELECT last_row FROM stream WHERE number = ?1") ||
      select.bind(1, stream).step() != Step::Row) {
    return file_.fails(failure);
  }
  number = select.number(0);
  return true;
}

bool SqliteStore::setLastRow(std::int64_t stream, std::int64_t number) {
  Statement update;
  return update.prepare(file_.connection(), "UPDATE stream SET last_row = ?2 WHERE number = ?1") &&
         update.bind(1, stream).bind(2, number).run();
}

bool SqliteStore::putRows(const StreamDefinition& stream, RowTable& table, std::span<const PublishedRow> rows,
                          Failure& failure) {
  if (rows.empty()) return true;
  std::int64_t number = 0;
  if (!lastRow(table.number, number, failure)) return false;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const Presence found = needsLook(rows[i].change) ? presence(table, rows[i].key) : Presence::Unknown;
    if (found == Presence::Failed) return file_.fails(failure);
    if (found == Presence::Absent && rows[i].change == RowChange::DeleteIfThere) continue;
    if (found == Presence::Absent && rows[i].change != RowChange::Insert) {
      return refuseMissingKey({i, rows.size()}, stream.name, failure);
    }
    if (found == Presence::There && rows[i].change == RowChange::Insert) {
      return refuseKnownKey({i, rows.size()}, stream.name, failure);
    }
    if (!putRow(table, rows[i], ++number)) return file_.fails(failure);
  }
  return setLastRow(table.number, number) || file_.fails(failure);
}

SqliteStore::Presence SqliteStore::presence(RowTable& table, std::string_view key) {
  if (!prepared(table.find, "SELECT 1 FROM rows_" + std::to_string(table.number) + " WHERE key = ?1 AND gone = 0")) {
    return Presence::Failed;
  }
  const Step found = table.find.bindBytes(1, key).step();
  table.find.reset();
  if (found == Step::Failed) return Presence::Failed;
  return found == Step::Row ? Presence::There : Presence::Absent;
}

bool SqliteStore::putRow(RowTable& table, const PublishedRow& row, std::int64_t number) {
  if (!prepared(table.put, "INSERT OR REPLACE INTO rows_" + std::to_string(table.number) +
                               " (number, key, gone, record) VALUES (?1, ?2, ?3, ?4)")) {
    return false;
  }
  const bool gone = row.change == RowChange::Delete || row.change == RowChange::DeleteIfThere;
  table.put.bind(1, number).bind(3, gone ? 1 : 0).bindBytes(4, row.record);
  if (row.change == RowChange::Append) {
    table.put.bindNull(2);
  } else {
    table.put.bindBytes(2, row.key);
  }
  return table.put.run();
}

bool SqliteStore::read(const StreamDefinition& stream, std::int64_t after, RowChunk& chunk, Failure& failure) {
  chunk.bytes.clear();
  chunk.rows.clear();
  RowTable* const table = tableOf(stream, failure);
  if (table == nullptr) return false;
  if (!prepared(table->read, "SELECT number, record FROM rows_" + std::to_string(table->number) + std::string(kBehind) +
                                 " ORDER BY number")) {
    return file_.fails(failure);
  }
  table->read.bind(1, after);
  Step step = Step::Done;
  while (chunk.rows.size() < kChunkRows && chunk.bytes.size() < kChunkBytes) {
    step = table->read.step();
    if (step != Step::Row) break;
    const std::string_view record = table->read.bytes(1);
    chunk.rows.push_back({table->read.number(0), chunk.bytes.size(), record.size()});
    chunk.bytes.append(record);
  }
  const bool done = step != Step::Failed || file_.fails(failure);
  table->read.reset();
  return done;
}

bool SqliteStore::isThere(RowTable& table, std::int64_t after, bool& there, Failure& failure) {
  if (!prepared(table.look, "SELECT 1 FROM rows_" + std::to_string(table.number) + std::string(kBehind) + " LIMIT 1")) {
    return file_.fails(failure);
  }
  const Step found = table.look.bind(1, after).step();
  there = found == Step::Row;
  const bool done = found != Step::Failed || file_.fails(failure);
  table.look.reset();
  return done;
}

// Nobody tells a process that another one has committed: it looks again and again.
bool SqliteStore::waitForRows(const StreamDefinition& stream, std::int64_t after, std::int32_t milliseconds,
                              bool& there, Failure& failure) {
  using Clock = std::chrono::steady_clock;
  constexpr std::chrono::nanoseconds kFirstPause = std::chrono::microseconds(500);
  constexpr std::chrono::nanoseconds kLongestPause = std::chrono::milliseconds(20);
  RowTable* const table = tableOf(stream, failure);
  if (table == nullptr) return false;
  const auto until = Clock::now() + std::chrono::milliseconds(milliseconds);
  for (auto pause = kFirstPause;; pause = std::min(2 * pause, kLongestPause)) {
    if (!isThere(*table, after, there, failure)) return false;
    const std::chrono::nanoseconds left = until - Clock::now();
    if (there || left.count() <= 0) return true;
    std::this_thread::sleep_for(std::min(pause, left));
  }
}

// --- Delivery
// ---------------------------------------------------------------------------------------------------------

// In one transaction, so that of several takers the later ones see the fence, and the hold, of the first. The hold of a
// fence that in the end was not stored is let go.
bool SqliteStore::takeDelivery(const std::string& adapter, Take how, std::int64_t& fence, Failure& failure) {
  if (!hold_.open(file_.path(), failure)) return false;
  Transaction transaction(file_);
  if (!transaction.isOpen()) return file_.fails(failure);
  TakenDelivery delivery;
  if (!findDelivery(adapter, delivery, failure) || !mayTake(delivery, adapter, how, fence, failure)) return false;
  ++delivery.fence;
  if (!setFence(delivery)) return file_.fails(failure);
  if (!hold_.hold(delivery.adapter, delivery.fence, failure)) return false;
  if (!transaction.commit()) {
    file_.fails(failure);
    hold_.letGo(delivery.adapter, delivery.fence);
    return false;
  }
  if (taken_) hold_.letGo(taken_->adapter, taken_->fence);
  taken_ = delivery;
  fence = delivery.fence;
  return true;
}

// The adapter's number and last fence; makes its row when it has none.
bool SqliteStore::findDelivery(const std::string& adapter, TakenDelivery& delivery, Failure& failure) {
  Statement insert;
  Statement select;
  constexpr const char* kInsert = "INSERT INTO delivery (adapter, fence) VALUES (?1, 0) ON CONFLICT DO NOTHING";
  if (!insert.prepare(file_.connection(), kInsert) || !insert.bindText(1, adapter).run() ||
      !select.prepare(file_.connection(), "SELECT number, fence FROM delivery WHERE adapter = ?1") ||
      select.bindText(1, adapter).step() != Step::Row) {
    return file_.fails(failure);
  }
  delivery = {select.number(0), select.number(1)};
  constexpr std::int64_t kMostAdapters = std::numeric_limits<std::int32_t>::max();
  if (delivery.adapter > 0 && delivery.adapter <= kMostAdapters && delivery.fence >= 0 &&
      delivery.fence < std::numeric_limits<std::int64_t>::max()) {
    return true;
  }
  return fail(failure, KYV_ERROR_STORE, "what is stored of the delivery of adapter '%s' is damaged", adapter.c_str());
}

bool SqliteStore::mayTake(const TakenDelivery& stored, const std::string& adapter, Take how, std::int64_t fence,
                          Failure& failure) {
  bool held = false;
  switch (how) {
    case Take::IfFree:
      if (!hold_.isHeldByOther(stored.adapter, stored.fence, held, failure)) return false;
      return !held || refuseHeldDelivery(adapter, failure);
    case Take::IfStillMine:
      return stored.fence == fence || refuseReplacedDelivery(adapter, failure);
    case Take::Anyway:
      break;
  }
  return true;
}

bool SqliteStore::setFence(const TakenDelivery& delivery) {
  Statement update;
  return update.prepare(file_.connection(), "UPDATE delivery SET fence = ?2 WHERE number = ?1") &&
         update.bind(1, delivery.adapter).bind(2, delivery.fence).run();
}

bool SqliteStore::checkFence(const Delivery& delivery, Failure& failure) {
  Statement select;
  if (!select.prepare(file_.connection(), "SELECT fence FROM delivery WHERE adapter = ?1")) return file_.fails(failure);
  const Step found = select.bindText(1, delivery.adapter).step();
  if (found == Step::Failed) return file_.fails(failure);
  return (found == Step::Row && select.number(0) == delivery.fence) ||
         refuseReplacedDelivery(delivery.adapter, failure);
}

bool SqliteStore::storeKey(const Delivery& delivery) {
  Statement update;
  return update.prepare(file_.connection(), "UPDATE delivery SET key = ?2, rows_done = ?3 WHERE adapter = ?1") &&
         update.bindText(1, delivery.adapter).bind(2, delivery.key->key).bind(3, delivery.key->rowsDone).run();
}

bool SqliteStore::readDelivery(const std::string& adapter, std::optional<DeliveryKey>& key, Failure& failure) {
  Statement select;
  key.reset();
  if (!select.prepare(file_.connection(),
                      "SELECT key, rows_done FROM delivery WHERE adapter = ?1 AND key IS NOT NULL")) {
    return file_.fails(failure);
  }
  const Step found = select.bindText(1, adapter).step();
  if (found == Step::Row) key = {select.number(0), select.number(1)};
  return found != Step::Failed || file_.fails(failure);
}

}  // namespace

extern "C" KYV_EXPORT EventStore* kyv_open_event_store_2(const ProjectAddress& project, const Settings& settings,
                                                         Failure& failure) {
  auto store = std::make_unique<SqliteStore>();
  return store->open(project, settings, failure) ? store.release() : nullptr;
}

}  // namespace kyv_internal
