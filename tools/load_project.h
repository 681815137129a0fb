#pragma once

// The project that a load publishes into, through the client SDK, and the delivery under an adapter's name.
//
// Threads: one at a time.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "kyv/sdk.h"
#include "load_batch.h"
#include "load_position.h"
#include "schema_file.h"

namespace kyv_internal {

// Why a call failed: a kind of sdk.h, and a text.
struct StoreFailure {
  std::int32_t code = KYV_ERROR_NONE;
  std::string message;
};

// That a stream of this name is there and differs.
StoreFailure otherDefinition(const std::string& stream);

class LoadProject {
 public:
  LoadProject(std::string project, std::string adapter) : name_(std::move(project)), adapter_(std::move(adapter)) {}
  LoadProject(const LoadProject&) = delete;
  LoadProject& operator=(const LoadProject&) = delete;
  ~LoadProject();

  const std::string& adapter() const { return adapter_; }

  // All of these: false with a failure.

  // Connects, and makes the stream when it is not there; one of another definition is refused.
  [[nodiscard]] bool open(const SchemaFile& schema, StoreFailure& failure);
  // Makes the bookkeeping's stream unless one of its name is there; that needs a long column, which takes the key.
  [[nodiscard]] bool addBookkeeping(const SchemaFile& schema, StoreFailure& failure);

  enum class Take { kIfFree, kAnyway };
  // Takes the delivery, and reads how far it has come.
  [[nodiscard]] bool takeDelivery(Take how, std::optional<LoadPosition>& position, StoreFailure& failure);
  // The same over a new connection, unless another has taken it meanwhile.
  [[nodiscard]] bool takeDeliveryAgain(std::optional<LoadPosition>& position, StoreFailure& failure);

  // All rows with their position, or none, or it is not known: then only the position tells.
  [[nodiscard]] bool publish(const LoadBatch& batch, StoreFailure& failure);

 private:
  bool fail(StoreFailure& failure) const;
  bool connect(StoreFailure& failure);
  kyv_stream_t* defineStream(const SchemaFile& schema, StoreFailure& failure);
  bool readPosition(std::optional<LoadPosition>& position, StoreFailure& failure);
  bool addRecords(const LoadBatch& batch);

  std::string name_;
  std::string adapter_;
  kyv_error_t* error_ = nullptr;
  kyv_uri_t* uri_ = nullptr;
  kyv_project_t* project_ = nullptr;  // the URI's
  kyv_publisher_t* publisher_ = nullptr;
  kyv_message_writer_t* writer_ = nullptr;  // the publisher's
};

}  // namespace kyv_internal
