#pragma once

// The embedded store: a project is one SQLite file.
//
//   stream          a stream's number here, its name, its id, and the number of its last row
//   stream_column   its columns, and their places in the key
//   rows_N          the rows of stream N: number, key (NULL in a log), whether it is gone, a sum of these, record
//   delivery        per adapter a number, the last fence, and the key that was stored last

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/sdk/event_store.h"
#include "platform/sdk/sqlite/delivery_hold.h"
#include "platform/sdk/sqlite/project_file.h"
#include "platform/sdk/sqlite/statement.h"

namespace kyv_internal {

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
  // A stream's rows, and the statements on them.
  struct RowTable {
    std::int64_t number = 0;
    StreamDefinition stream;
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
  enum class Presence { Unknown, Absent, There, Failed };

  // Prepares a statement on first use.
  bool prepare(Statement& statement, std::string_view sql, Failure& failure);
  // One on a table's rows, where the text has "rows_N".
  bool prepareOn(const RowTable& table, Statement& statement, std::string sql, Failure& failure);

  bool readStream(const std::string& name, std::optional<StreamDefinition>& stream, std::int64_t& number,
                  Failure& failure);
  bool readColumns(std::int64_t number, StreamDefinition& stream, Failure& failure);
  bool insertStream(const StreamDefinition& stream, Failure& failure);
  bool insertColumns(std::int64_t number, const StreamDefinition& stream, Failure& failure);
  bool makeRowTable(std::int64_t number, bool isTable, Failure& failure);
  // Null on failure.
  RowTable* tableOf(const StreamDefinition& stream, Failure& failure);

  bool lastRow(const RowTable& table, std::int64_t& number, Failure& failure);
  bool setLastRow(const RowTable& table, std::int64_t number, Failure& failure);
  bool putRows(RowTable& table, std::span<const PublishedRow> rows, Failure& failure);
  Presence presence(const RowTable& table, const PublishedRow& row);
  bool putRow(const RowTable& table, const PublishedRow& row, std::int64_t number);
  bool readRows(const RowTable& table, std::int64_t after, std::int64_t last, RowChunk& chunk, Failure& failure);
  bool isThere(const RowTable& table, std::int64_t after, bool& there, Failure& failure);

  bool findDelivery(const std::string& adapter, TakenDelivery& delivery, Failure& failure);
  bool mayTake(const TakenDelivery& stored, const std::string& adapter, Take how, std::int64_t fence, Failure& failure);
  bool setFence(const TakenDelivery& delivery, Failure& failure);
  bool checkFence(const Delivery& delivery, Failure& failure);
  bool storeKey(const Delivery& delivery, Failure& failure);

  ProjectFile file_;
  std::map<std::string, RowTable> tables_;  // by stream
  Statement lastRow_;
  Statement setLastRow_;
  Statement fence_;
  Statement storeKey_;
  DeliveryLocks locks_;
  DeliveryHold hold_;  // of the delivery that was taken last
};

}  // namespace kyv_internal
