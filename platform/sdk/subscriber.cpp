#include "platform/sdk/subscriber.h"

#include "kyv/data_types.h"
#include "platform/sdk/store_module.h"
#include "row2/row2_layout.h"

namespace kyv_internal {

std::optional<std::optional<std::string_view>> RowReader::value(std::int32_t column, Failure& failure) const {
  const auto index = static_cast<std::size_t>(column);  // of a negative one beyond all
  if (record && index < stream->columns.size()) return record->value(index);
  fail(failure, KYV_ERROR_USAGE, "stream '%s' has no column %d", stream->name.c_str(), column);
  return std::nullopt;
}

bool RowReader::readLong(std::int32_t column, std::int64_t& out, Failure& failure) const {
  const auto bytes = value(column, failure);
  if (!bytes) return false;
  const StreamDefinition::Column& type = stream->columns[static_cast<std::size_t>(column)];
  if (type.type != DataTypes::kLong) {
    return fail(failure, KYV_ERROR_USAGE, "stream '%s': column '%s' is of type %s, not long", stream->name.c_str(),
                type.name.c_str(), typeName(type.type));
  }
  if (!*bytes) {
    return fail(failure, KYV_ERROR_USAGE, "stream '%s': column '%s' is NULL", stream->name.c_str(), type.name.c_str());
  }
  out = load<std::int64_t>((*bytes)->data());
  return true;
}

MessageReader::MessageReader(StreamPointer stream, RowChunk chunk)
    : chunk_(std::move(chunk)),
      row_(std::make_shared<RowReader>(std::move(stream))),
      handle_(owned_.add<kyv_row_reader_t>(row_)) {}

// Does not go on behind a damaged row.
kyv_row_reader_t* MessageReader::next(Failure& failure) {
  row_->record.reset();
  if (next_ == chunk_.rows.size()) return nullptr;
  const RowChunk::Row& stored = chunk_.rows[next_];
  Failure reason;
  row_->number = stored.number;
  row_->record = StreamRecord::check(*row_->stream, chunk_.record(stored), reason);
  if (!row_->record) {
    fail(failure, KYV_ERROR_STORE, "row %lld of stream '%s' is damaged: %s", static_cast<long long>(stored.number),
         row_->stream->name.c_str(), reason.message.c_str());
    return nullptr;
  }
  ++next_;
  return handle_;
}

bool Subscriber::connect(Failure& failure) {
  if (store_ == nullptr) store_ = reopenStore(*address_, failure);
  return store_ != nullptr;
}

void Subscriber::close() {
  event_.clear();
  stream_.reset();
  store_.reset();
}

bool Subscriber::subscribe(const Stream& stream, std::int64_t after, Failure& failure) {
  if (store_ == nullptr) return fail(failure, KYV_ERROR_USAGE, "the subscriber is not connected");
  if (stream.address != address_) {
    return fail(failure, KYV_ERROR_USAGE, "stream '%s' belongs to another project", stream.definition->name.c_str());
  }
  if (after < 0) return fail(failure, KYV_ERROR_USAGE, "%lld is no row's number", static_cast<long long>(after));
  event_.clear();
  stream_ = stream.definition;
  last_ = after;
  return true;
}

bool Subscriber::hasStream(Failure& failure) const {
  return stream_ != nullptr || fail(failure, KYV_ERROR_USAGE, "the subscriber has no stream");
}

bool Subscriber::wait(std::int32_t milliseconds, bool& there, Failure& failure) {
  if (!hasStream(failure)) return false;
  if (milliseconds < 0) return fail(failure, KYV_ERROR_USAGE, "%d milliseconds cannot be waited", milliseconds);
  return store_->waitForRows(*stream_, last_, milliseconds, there, failure);
}

kyv_subscriber_event_t* Subscriber::next(Failure& failure) {
  if (!hasStream(failure)) return nullptr;
  event_.clear();
  RowChunk chunk;
  if (!store_->read(*stream_, last_, chunk, failure)) return nullptr;
  const std::int64_t last = chunk.rows.empty() ? last_ : chunk.rows.back().number;
  auto event = std::make_shared<SubscriberEvent>();
  if (!chunk.rows.empty()) {
    event->type = KYV_EVENT_ROWS;
    event->reader = event->owned.add<kyv_message_reader_t>(std::make_shared<MessageReader>(stream_, std::move(chunk)));
  }
  kyv_subscriber_event_t* const handle = event_.add<kyv_subscriber_event_t>(std::move(event));
  last_ = last;  // the rows are given
  return handle;
}

}  // namespace kyv_internal
