#pragma once

// Subscribers, and the events and rows that they give.

#include <cstdint>
#include <memory>
#include <optional>

#include "platform/sdk/event_store.h"
#include "platform/sdk/handle_table.h"
#include "platform/sdk/project.h"
#include "platform/sdk/stream_record.h"

namespace kyv_internal {

using StreamPointer = std::shared_ptr<const StreamDefinition>;

// One row at a time; the handle stays the same.
struct RowReader : HandleObject {
  explicit RowReader(StreamPointer definition) : stream(std::move(definition)) {}
  // Outer nothing: no such column. Inner nothing: NULL.
  std::optional<std::optional<std::string_view>> value(std::int32_t column, Failure& failure) const;
  [[nodiscard]] bool readLong(std::int32_t column, std::int64_t& out, Failure& failure) const;

  StreamPointer stream;
  std::int64_t number = 0;
  std::optional<StreamRecord> record;
};

// The rows of an event.
class MessageReader : public HandleObject {
 public:
  MessageReader(StreamPointer stream, RowChunk chunk);
  // Null after the last row, and null with a failure when the stored row is damaged.
  kyv_row_reader_t* next(Failure& failure);

 private:
  const RowChunk chunk_;
  std::size_t next_ = 0;
  std::shared_ptr<RowReader> row_;
  OwnedHandles owned_;
  kyv_row_reader_t* handle_ = nullptr;
};

struct SubscriberEvent : HandleObject {
  std::int32_t type = KYV_EVENT_END;
  OwnedHandles owned;
  kyv_message_reader_t* reader = nullptr;  // of an event with rows
};

class Subscriber : public HandleObject {
 public:
  explicit Subscriber(Address address) : address_(std::move(address)) {}

  [[nodiscard]] bool connect(Failure& failure);
  void close();
  // Begins behind a row number.
  [[nodiscard]] bool subscribe(const Stream& stream, std::int64_t after, Failure& failure);
  // Tells whether there are rows that were not given yet, for which it waits.
  [[nodiscard]] bool wait(std::int32_t milliseconds, bool& there, Failure& failure);
  // Null on failure.
  kyv_subscriber_event_t* next(Failure& failure);

 private:
  bool hasStream(Failure& failure) const;

  const Address address_;
  std::unique_ptr<EventStore> store_;  // while connected
  StreamPointer stream_;               // once subscribed
  std::int64_t last_ = 0;              // number of the last row that was given, or that is not wanted
  OwnedHandles event_;
};

}  // namespace kyv_internal
