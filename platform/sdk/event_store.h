#pragma once

// Where a project's streams lie: the one interface of all back ends. A back end is a module, a shared library of its
// own that is opened on demand (store_module.h), so that nothing else links a database.
//
// A row has a number in its stream, which rises in the order in which rows are committed and is never used twice. A
// table keeps of each key the last record, under the number of its last change, and of deleted keys the delete; so a
// reader who has seen all rows up to a number reads on from there, and misses no change.
//
// Callers have checked all that they give: records fit their stream, keys are there in tables and empty in logs. Each
// operation is one transaction. On failure it returns false, and has changed nothing unless the code is
// KYV_ERROR_STORE: then a publish may be done or not, and reading the delivery key tells.
//
// Threads: a store is used by one thread at a time; any number of stores, in any number of processes, may have one
// project open.

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "kyv/export.h"
#include "platform/sdk/failure.h"
#include "platform/sdk/project_uri.h"
#include "platform/sdk/settings.h"

namespace kyv_internal {

struct StreamDefinition {
  struct Column {
    std::string name;
    std::uint32_t type;  // a type code of data_types.h
    bool operator==(const Column&) const = default;
  };

  std::string name;
  std::int32_t id = 0;
  std::vector<Column> columns;
  std::vector<std::size_t> key;  // positions of the key columns; none: a log

  bool isTable() const { return !key.empty(); }
  bool operator==(const StreamDefinition&) const = default;
};

enum class RowChange { Append, Insert, Update, Upsert, Delete, DeleteIfThere };

struct PublishedRow {
  RowChange change;         // Append in logs, any other in tables
  std::string_view key;     // the values of the key columns as one text of bytes
  std::string_view record;  // the whole record
};

struct DeliveryKey {
  std::int64_t key = 0;
  std::int64_t rowsDone = 0;  // of this key
  bool operator==(const DeliveryKey&) const = default;
};

// Whose an adapter's delivery may be when it is taken.
enum class Take {
  IfFree,       // nobody's who lives
  IfStillMine,  // the taker's own, of this or a lost connection: nobody took it since the fence that he has
  Anyway        // anybody's
};

// Who publishes: what takeDelivery gave, and what to store with the rows.
struct Delivery {
  std::string adapter;
  std::int64_t fence = 0;
  std::optional<DeliveryKey> key;
};

// Rows as a reader gets them.
struct RowChunk {
  struct Row {
    std::int64_t number;
    std::size_t begin;  // of the record in `bytes`
    std::size_t size;
  };

  std::string bytes;
  std::vector<Row> rows;

  std::string_view record(const Row& row) const { return std::string_view(bytes).substr(row.begin, row.size); }
};

class EventStore {
 public:
  virtual ~EventStore() = default;

  // Nothing when the same definition is there; KYV_ERROR_REFUSED when another one of this name is.
  virtual bool defineStream(const StreamDefinition& stream, Failure& failure) = 0;
  // Replaces `names` by those of all streams, in the order of their bytes.
  virtual bool listStreams(std::vector<std::string>& names, Failure& failure) = 0;
  // KYV_ERROR_MISSING without a stream of this name.
  virtual bool findStream(const std::string& name, StreamDefinition& stream, Failure& failure) = 0;

  // All rows and the key, or nothing. KYV_ERROR_REFUSED when a row's key is there and must not be, or the other way
  // round; KYV_ERROR_REPLACED when the fence is not the adapter's last one. Durable when it returns.
  virtual bool publish(const StreamDefinition& stream, std::span<const PublishedRow> rows, const Delivery* delivery,
                       Failure& failure) = 0;

  // Replaces `chunk` by the rows behind a number, in order, as many as are good to handle at once; none when there are
  // none now. Deletes are left out behind the number 0, where nobody knows the key yet.
  virtual bool read(const StreamDefinition& stream, std::int64_t after, RowChunk& chunk, Failure& failure) = 0;

  // Waits until there is a row behind a number, at most so many milliseconds, and tells whether there is one.
  virtual bool waitForRows(const StreamDefinition& stream, std::int64_t after, std::int32_t milliseconds, bool& there,
                           Failure& failure) = 0;

  // Gives a fence that is above all that were given for this adapter. From now on publishing with one of those fails,
  // and nothing that was published with them is still under way. `fence` goes in for Take::IfStillMine: the last one
  // that the taker got. KYV_ERROR_HELD: a store that is open holds the delivery, and it is to be free.
  // KYV_ERROR_REPLACED: it is no longer the taker's. A store holds one delivery, the last that it took, until it is
  // destroyed or its process dies.
  virtual bool takeDelivery(const std::string& adapter, Take how, std::int64_t& fence, Failure& failure) = 0;
  // What the adapter's last publish with a key stored.
  virtual bool readDelivery(const std::string& adapter, std::optional<DeliveryKey>& key, Failure& failure) = 0;
};

// The one function that a back end's module exports, under the name kOpenStoreName: opens a project and gives a new
// store, for delete; null on failure.
using OpenStore = EventStore* (*)(const ProjectAddress& project, const Settings& settings, Failure& failure);
inline constexpr const char* kOpenStoreName = "kyv_open_event_store_2";

}  // namespace kyv_internal
