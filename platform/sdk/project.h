#pragma once

// URIs, projects, and their streams: what the handles of these kinds stand for.

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/sdk/event_store.h"
#include "platform/sdk/handle_table.h"

namespace kyv_internal {

using Address = std::shared_ptr<const ProjectAddress>;  // one per project, which is known by the pointer

// A stream's schema.
struct Schema : HandleObject {
  explicit Schema(std::shared_ptr<const StreamDefinition> definition) : stream(std::move(definition)) {}
  // The column at a position; null outside.
  const StreamDefinition::Column* column(std::int32_t position, Failure& failure) const;

  std::shared_ptr<const StreamDefinition> stream;
};

struct Stream : HandleObject {
  Stream(Address project, StreamDefinition stream);

  Address address;
  std::shared_ptr<const StreamDefinition> definition;
  OwnedHandles owned;
  kyv_schema_t* schema;
};

// Threads: any, at once.
class Project : public HandleObject {
 public:
  explicit Project(Address address) : address_(std::move(address)) {}

  [[nodiscard]] bool connect(IfMissing ifMissing, Failure& failure);
  // Null, with a failure, unless it is connected.
  Address connectedAddress(Failure& failure);
  // Null on failure.
  kyv_stream_t* defineStream(StreamDefinition stream, Failure& failure);
  kyv_stream_t* findStream(const std::string& name, Failure& failure);
  [[nodiscard]] bool countStreams(std::int32_t& count, Failure& failure);
  [[nodiscard]] bool readDelivery(const std::string& adapter, std::optional<DeliveryKey>& key, Failure& failure);
  // By place among those that were counted; lives until they are counted again. Null on failure.
  const char* streamName(std::int32_t index, Failure& failure);

 private:
  // Does something with the store of a connected project, which is opened again if it failed the last time.
  template <class Operation>
  bool withStore(Failure& failure, Operation operation);
  bool isConnected(Failure& failure) const;
  kyv_stream_t* handleOf(StreamDefinition stream);

  const Address address_;
  std::mutex mutex_;
  bool connected_ = false;
  std::unique_ptr<EventStore> store_;  // once connected, unless it has failed
  OwnedHandles owned_;
  std::map<std::string, kyv_stream_t*> streams_;
  std::vector<std::string> names_;  // as they were last counted
};

struct Uri : HandleObject {
  explicit Uri(ProjectAddress address);

  OwnedHandles owned;
  kyv_project_t* project;
};

}  // namespace kyv_internal
