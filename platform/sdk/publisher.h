#pragma once

// Publishers, and the collectors of what they publish.

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/sdk/event_store.h"
#include "platform/sdk/handle_table.h"
#include "platform/sdk/project.h"
#include "platform/sdk/row_writer.h"

namespace kyv_internal {

// The rows that the next publish takes.
class MessageWriter : public HandleObject, public std::enable_shared_from_this<MessageWriter> {
 public:
  explicit MessageWriter(std::shared_ptr<const StreamDefinition> stream) : stream_(std::move(stream)), row_(*stream_) {}

  // Appends a copy when the stream can take it.
  [[nodiscard]] bool addRecord(std::string_view record, Failure& failure);
  [[nodiscard]] bool endRow(Failure& failure);
  kyv_relative_rowwriter_t* rowWriter();

  RowWriter& row() { return row_; }
  const StreamDefinition& stream() const { return *stream_; }
  // Valid until something is added.
  std::vector<PublishedRow> rows() const;
  void clear();

 private:
  void dropLeftovers();

  struct Part {
    RowChange change;
    std::size_t keyEnd;  // in keys_
    std::size_t end;     // in records_
  };

  const std::shared_ptr<const StreamDefinition> stream_;
  RowWriter row_;
  std::string ended_;  // the row that ended last, for its memory
  std::string keys_;
  std::string records_;
  std::vector<Part> parts_;
  OwnedHandles owned_;
  kyv_relative_rowwriter_t* rowWriter_ = nullptr;
};

// What the handle of a row writer stands for. The writer may be gone before it.
struct RowWriterOf : HandleObject {
  explicit RowWriterOf(std::weak_ptr<MessageWriter> message) : writer(std::move(message)) {}
  std::weak_ptr<MessageWriter> writer;
};

class Publisher : public HandleObject {
 public:
  explicit Publisher(Address address) : address_(std::move(address)) {}

  [[nodiscard]] bool connect(Failure& failure);
  void close();
  // Null on failure.
  kyv_message_writer_t* writer(const Stream& stream, Failure& failure);
  [[nodiscard]] bool publish(MessageWriter& writer, Failure& failure);

  [[nodiscard]] bool takeDelivery(const std::string& adapter, Failure& failure);
  [[nodiscard]] bool takeOverDelivery(const std::string& adapter, Failure& failure);
  [[nodiscard]] bool readDelivery(std::optional<DeliveryKey>& key, Failure& failure);
  [[nodiscard]] bool setDeliveryKey(const DeliveryKey& key, Failure& failure);

 private:
  static constexpr std::int64_t kNoFence = -1;

  bool isConnected(Failure& failure) const;
  bool hasDelivery(Failure& failure) const;
  bool take(const std::string& adapter, Take how, Failure& failure);

  const Address address_;
  std::unique_ptr<EventStore> store_;  // while connected
  OwnedHandles owned_;
  std::map<std::string, kyv_message_writer_t*> writers_;  // by stream
  std::optional<Delivery> delivery_;                      // while connected, once taken
  std::map<std::string, std::int64_t> fences_;  // by adapter, the last one that it got; they outlive connections
};

}  // namespace kyv_internal
