// Streams, and their definitions. The module's one exported function stands at the end.

#include "platform/sdk/sqlite/sqlite_store.h"

#include <algorithm>
#include <limits>
#include <memory>

#include "kyv/export.h"
#include "platform/sdk/refusals.h"

namespace kyv_internal {

namespace {

template <class Integer>
bool fits(std::int64_t value) {
  return value >= std::numeric_limits<Integer>::min() && value <= std::numeric_limits<Integer>::max();
}

}  // namespace

bool SqliteStore::prepare(Statement& statement, std::string_view sql, Failure& failure) {
  return statement.isPrepared() || statement.prepare(file_.connection(), sql) || file_.fails(failure);
}

bool SqliteStore::prepareOn(const RowTable& table, Statement& statement, std::string sql, Failure& failure) {
  constexpr std::string_view kName = "rows_N";
  if (!statement.isPrepared()) sql.replace(sql.find(kName) + kName.size() - 1, 1, std::to_string(table.number));
  return prepare(statement, sql, failure);
}

bool SqliteStore::readStream(const std::string& name, std::optional<StreamDefinition>& stream, std::int64_t& number,
                             Failure& failure) {
  Statement select;
  if (!prepare(select, "SELECT number, id FROM stream WHERE name = ?1", failure)) return false;
  Run row(select);
  const Step found = row.bindText(1, name).step();
  if (found == Step::Failed) return file_.fails(failure);
  stream.reset();
  if (found == Step::Done) return true;
  number = row.number(0);
  if (!fits<std::int32_t>(row.number(1))) return file_.isDamaged(failure);
  stream.emplace(StreamDefinition{name, static_cast<std::int32_t>(row.number(1)), {}, {}});
  return readColumns(number, *stream, failure);
}

bool SqliteStore::readColumns(std::int64_t number, StreamDefinition& stream, Failure& failure) {
  Statement select;
  constexpr const char* kSelect =
      "SELECT name, type, key_position FROM stream_column WHERE stream = ?1 ORDER BY position";
  if (!prepare(select, kSelect, failure)) return false;
  Run row(select);
  row.bind(1, number);
  std::map<std::int64_t, std::size_t> key;
  Step step = row.step();
  for (; step == Step::Row; step = row.step()) {
    if (!row.isNull(2) && !key.emplace(row.number(2), stream.columns.size()).second) return file_.isDamaged(failure);
    if (!fits<std::uint32_t>(row.number(1))) return file_.isDamaged(failure);
    stream.columns.push_back({std::string(row.bytes(0)), static_cast<std::uint32_t>(row.number(1))});
  }
  if (step == Step::Failed) return file_.fails(failure);
  for (const auto& [position, column] : key) stream.key.push_back(column);
  return true;
}

bool SqliteStore::listStreams(std::vector<std::string>& names, Failure& failure) {
  Statement select;
  names.clear();
  if (!prepare(select, "SELECT name FROM stream ORDER BY name", failure)) return false;
  Run row(select);
  Step step = row.step();
  for (; step == Step::Row; step = row.step()) names.emplace_back(row.bytes(0));
  return step == Step::Done || file_.fails(failure);
}

bool SqliteStore::findStream(const std::string& name, StreamDefinition& stream, Failure& failure) {
  Transaction oneMoment(file_);
  std::optional<StreamDefinition> found;
  std::int64_t number = 0;
  if (!oneMoment.beginRead(failure) || !readStream(name, found, number, failure)) return false;
  if (!found) return refuseMissingStream(name, failure);
  stream = *std::move(found);
  return true;
}

bool SqliteStore::defineStream(const StreamDefinition& stream, Failure& failure) {
  Transaction transaction(file_);
  std::optional<StreamDefinition> found;
  std::int64_t number = 0;
  if (!transaction.beginWrite(failure) || !readStream(stream.name, found, number, failure)) return false;
  if (found) return *found == stream || refuseOtherDefinition(stream.name, failure);
  return insertStream(stream, failure) && transaction.commit(failure);
}

bool SqliteStore::insertStream(const StreamDefinition& stream, Failure& failure) {
  Statement insert;
  if (!prepare(insert, "INSERT INTO stream (name, id, last_row) VALUES (?1, ?2, 0)", failure)) return false;
  if (!Run(insert).bindText(1, stream.name).bind(2, stream.id).finish()) return file_.fails(failure);
  const std::int64_t number = sqlite3_last_insert_rowid(file_.connection());
  return insertColumns(number, stream, failure) && makeRowTable(number, stream.isTable(), failure);
}

bool SqliteStore::insertColumns(std::int64_t number, const StreamDefinition& stream, Failure& failure) {
  Statement insert;
  constexpr const char* kInsert =
      "INSERT INTO stream_column (stream, position, name, type, key_position) VALUES (?1, ?2, ?3, ?4, ?5)";
  if (!prepare(insert, kInsert, failure)) return false;
  for (std::size_t i = 0; i < stream.columns.size(); ++i) {
    const auto place = std::find(stream.key.begin(), stream.key.end(), i);
    Run row(insert);
    row.bind(1, number).bind(2, static_cast<std::int64_t>(i));
    row.bindText(3, stream.columns[i].name).bind(4, stream.columns[i].type);
    if (place != stream.key.end()) row.bind(5, place - stream.key.begin());
    if (!row.finish()) return file_.fails(failure);
  }
  return true;
}

bool SqliteStore::makeRowTable(std::int64_t number, bool isTable, Failure& failure) {
  const std::string sql = "CREATE TABLE rows_" + std::to_string(number) + " (number INTEGER PRIMARY KEY, key BLOB" +
                          (isTable ? " UNIQUE NOT NULL" : "") +
                          ", gone INTEGER NOT NULL, sum INTEGER NOT NULL, record BLOB NOT NULL)";
  Statement create;
  return prepare(create, sql, failure) && (Run(create).finish() || file_.fails(failure));
}

SqliteStore::RowTable* SqliteStore::tableOf(const StreamDefinition& stream, Failure& failure) {
  const auto known = tables_.find(stream.name);
  if (known != tables_.end() && known->second.stream == stream) return &known->second;
  std::optional<StreamDefinition> found;
  RowTable table;
  if (!readStream(stream.name, found, table.number, failure)) return nullptr;
  if (!found || *found != stream) {
    refuseChangedStream(stream.name, failure);
    return nullptr;
  }
  table.stream = stream;
  return &tables_.insert_or_assign(stream.name, std::move(table)).first->second;
}

extern "C" KYV_EXPORT EventStore* kyv_open_event_store_2(const ProjectAddress& project, const Settings& settings,
                                                         Failure& failure) {
  auto store = std::make_unique<SqliteStore>();
  return store->open(project, settings, failure) ? store.release() : nullptr;
}

}  // namespace kyv_internal
