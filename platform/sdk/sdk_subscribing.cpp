// The calls of sdk.h on subscribers, events and rows.

#include "kyv/sdk.h"
#include "platform/sdk/calls.h"
#include "platform/sdk/subscriber.h"

using kyv_internal::callOn;
using kyv_internal::createOn;
using kyv_internal::doOn;
using kyv_internal::fail;
using kyv_internal::Failure;
using kyv_internal::findStream;
using kyv_internal::kFailed;
using kyv_internal::MessageReader;
using kyv_internal::release;
using kyv_internal::RowReader;
using kyv_internal::Subscriber;
using kyv_internal::SubscriberEvent;

namespace {

bool isAtRow(const RowReader& row, Failure& failure) {
  return row.record.has_value() || fail(failure, KYV_ERROR_USAGE, "the reader is not at a row");
}

}  // namespace

kyv_subscriber_t* kyv_project_create_subscriber(kyv_project_t* project, kyv_options_t*, kyv_error_t* error) {
  return createOn<Subscriber, kyv_subscriber_t>(project, error);
}

std::int32_t kyv_subscriber_connect(kyv_subscriber_t* subscriber, kyv_error_t* error) {
  return doOn<Subscriber>(subscriber, error, [](Subscriber& held, Failure& failure) { return held.connect(failure); });
}

std::int32_t kyv_subscriber_close(kyv_subscriber_t* subscriber, kyv_error_t* error) {
  return doOn<Subscriber>(subscriber, error, [](Subscriber& held, Failure&) {
    held.close();
    return true;
  });
}

std::int32_t kyv_subscriber_free(kyv_subscriber_t* subscriber, kyv_error_t* error) {
  return release<Subscriber>(subscriber, error);
}

std::int32_t kyv_subscriber_subscribe(kyv_subscriber_t* subscriber, kyv_stream_t* stream, kyv_error_t* error) {
  return kyv_subscriber_subscribe_from(subscriber, stream, 0, error);
}

std::int32_t kyv_subscriber_subscribe_from(kyv_subscriber_t* subscriber, kyv_stream_t* stream, std::int64_t after,
                                           kyv_error_t* error) {
  return doOn<Subscriber>(subscriber, error, [&](Subscriber& held, Failure& failure) {
    const auto target = findStream(stream, failure);
    return target != nullptr && held.subscribe(*target, after, failure);
  });
}

std::int32_t kyv_subscriber_wait(kyv_subscriber_t* subscriber, std::int32_t milliseconds, kyv_error_t* error) {
  return callOn<Subscriber>(subscriber, error, kFailed, [&](Subscriber& held, Failure& failure) {
    bool there = false;
    if (!held.wait(milliseconds, there, failure)) return kFailed;
    return there ? 1 : 0;
  });
}

kyv_subscriber_event_t* kyv_subscriber_get_next_event(kyv_subscriber_t* subscriber, kyv_error_t* error) {
  return callOn<Subscriber, kyv_subscriber_t, kyv_subscriber_event_t*>(
      subscriber, error, nullptr, [](Subscriber& held, Failure& failure) { return held.next(failure); });
}

std::int32_t kyv_subscriber_event_get_type(kyv_subscriber_event_t* event, kyv_error_t* error) {
  return callOn<SubscriberEvent>(event, error, kFailed, [](SubscriberEvent& held, Failure&) { return held.type; });
}

kyv_message_reader_t* kyv_subscriber_event_get_reader(kyv_subscriber_event_t* event, kyv_error_t* error) {
  return callOn<SubscriberEvent, kyv_subscriber_event_t, kyv_message_reader_t*>(
      event, error, nullptr, [](SubscriberEvent& held, Failure& failure) {
        if (held.reader == nullptr) fail(failure, KYV_ERROR_USAGE, "the event carries no rows");
        return held.reader;
      });
}

kyv_row_reader_t* kyv_message_reader_next_row(kyv_message_reader_t* reader, kyv_error_t* error) {
  return callOn<MessageReader, kyv_message_reader_t, kyv_row_reader_t*>(
      reader, error, nullptr, [](MessageReader& held, Failure& failure) { return held.next(failure); });
}

const void* kyv_row_reader_get_record(kyv_row_reader_t* row, std::uint32_t* size, kyv_error_t* error) {
  return callOn<RowReader, kyv_row_reader_t, const void*>(
      row, error, nullptr, [&](RowReader& held, Failure& failure) -> const void* {
        if (!isAtRow(held, failure)) return nullptr;
        if (size != nullptr) *size = static_cast<std::uint32_t>(held.record->bytes().size());
        return held.record->bytes().data();
      });
}

std::int64_t kyv_row_reader_get_number(kyv_row_reader_t* row, kyv_error_t* error) {
  return callOn<RowReader, kyv_row_reader_t, std::int64_t>(row, error, kFailed, [](RowReader& held, Failure& failure) {
    return isAtRow(held, failure) ? held.number : kFailed;
  });
}

std::int32_t kyv_row_reader_is_null(kyv_row_reader_t* row, std::int32_t column, kyv_error_t* error) {
  return callOn<RowReader>(row, error, kFailed, [&](RowReader& held, Failure& failure) {
    const auto value = held.value(column, failure);
    if (!value) return kFailed;
    return *value ? 0 : 1;
  });
}

std::int32_t kyv_row_reader_get_long(kyv_row_reader_t* row, std::int32_t column, std::int64_t* value,
                                     kyv_error_t* error) {
  return doOn<RowReader>(row, error, [&](RowReader& held, Failure& failure) {
    std::int64_t found = 0;
    if (!held.readLong(column, found, failure)) return false;
    if (value != nullptr) *value = found;
    return true;
  });
}
