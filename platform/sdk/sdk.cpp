// The calls of sdk.h: each finds what its handle stands for and calls it.

#include "kyv/sdk.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <exception>
#include <memory>
#include <string>
#include <utility>

#include "platform/sdk/handle_table.h"
#include "platform/sdk/project.h"
#include "platform/sdk/publisher.h"
#include "platform/sdk/subscriber.h"

using kyv_internal::addHandle;
using kyv_internal::Address;
using kyv_internal::DeliveryKey;
using kyv_internal::fail;
using kyv_internal::Failure;
using kyv_internal::findObject;
using kyv_internal::HandleObject;
using kyv_internal::handles;
using kyv_internal::MessageReader;
using kyv_internal::MessageWriter;
using kyv_internal::parseProjectUri;
using kyv_internal::Project;
using kyv_internal::ProjectAddress;
using kyv_internal::Publisher;
using kyv_internal::RowReader;
using kyv_internal::RowWriterOf;
using kyv_internal::Schema;
using kyv_internal::Stream;
using kyv_internal::StreamDefinition;
using kyv_internal::Subscriber;
using kyv_internal::SubscriberEvent;
using kyv_internal::Uri;

namespace {

struct ErrorObject : HandleObject {
  Failure failure;
};

void report(kyv_error_t* handle, Failure failure) {
  if (const auto error = findObject<ErrorObject>(handle)) error->failure = std::move(failure);
}

// Runs the body of a call, which no exception leaves, and leaves its failure, or none, in the error object.
template <class Result, class Body>
Result call(kyv_error_t* error, Result failed, Body body) {
  Failure failure;
  Result result = failed;
  try {
    result = body(failure);
  } catch (const std::exception&) {
    failure = {KYV_ERROR_STORE, "out of memory"};  // short enough to need none
    result = failed;
  }
  report(error, std::move(failure));
  return result;
}

// The same with the object of a handle; `failed` when there is none.
template <class Object, class Handle, class Result, class Body>
Result callOn(Handle* handle, kyv_error_t* error, Result failed, Body body) {
  return call(error, failed, [&](Failure& failure) -> Result {
    const std::shared_ptr<Object> object = findObject<Object>(handle);
    if (object != nullptr) return body(*object, failure);
    fail(failure, KYV_ERROR_USAGE, handle == nullptr ? "a handle is null" : "a handle was released, or is another's");
    return failed;
  });
}

constexpr std::int32_t kFailed = -1;

std::int32_t status(bool done) { return done ? 0 : kFailed; }

// A status from a body that answers with a bool.
template <class Object, class Handle, class Body>
std::int32_t doOn(Handle* handle, kyv_error_t* error, Body body) {
  return callOn<Object>(handle, error, kFailed,
                        [&](Object& object, Failure& failure) { return status(body(object, failure)); });
}

template <class Object, class Handle>
std::int32_t release(Handle* handle, kyv_error_t* error) {
  return doOn<Object>(handle, error, [&](Object&, Failure&) {
    handles().remove(std::bit_cast<std::uintptr_t>(handle));
    return true;
  });
}

template <class Body>
std::int32_t onRow(kyv_relative_rowwriter_t* handle, kyv_error_t* error, Body body) {
  return doOn<RowWriterOf>(handle, error, [&](RowWriterOf& row, Failure& failure) {
    const std::shared_ptr<MessageWriter> writer = row.writer.lock();
    return writer != nullptr ? body(*writer, failure)
                             : fail(failure, KYV_ERROR_USAGE, "the row's publisher was released");
  });
}

// A publisher or subscriber of a connected project.
template <class Object, class Handle>
Handle* createOn(kyv_project_t* project, kyv_error_t* error) {
  return callOn<Project, kyv_project_t, Handle*>(
      project, error, nullptr, [](Project& held, Failure& failure) -> Handle* {
        Address address = held.connectedAddress(failure);
        if (address == nullptr) return nullptr;
        return addHandle<Handle>(std::make_shared<Object>(std::move(address)));
      });
}

std::shared_ptr<Stream> findStream(kyv_stream_t* handle, Failure& failure) {
  auto stream = findObject<Stream>(handle);
  if (stream == nullptr) {
    fail(failure, KYV_ERROR_USAGE, "the stream's handle is null, was released, or is another's");
  }
  return stream;
}

bool hasText(const char* text, const char* what, Failure& failure) {
  return text != nullptr || fail(failure, KYV_ERROR_USAGE, "%s is null", what);
}

bool isAtRow(const RowReader& row, Failure& failure) {
  return row.record.has_value() || fail(failure, KYV_ERROR_USAGE, "the reader is not at a row");
}

std::atomic<bool> started = false;

// What a stream's definition says in C.
struct Columns {
  std::int32_t count;
  const char* const* names;
  const std::uint32_t* types;
  std::int32_t keyCount;
  const std::int32_t* keys;
};

bool readColumns(const Columns& columns, StreamDefinition& stream, Failure& failure) {
  const bool complete = columns.count >= 0 && columns.keyCount >= 0 &&
                        (columns.count == 0 || (columns.names != nullptr && columns.types != nullptr)) &&
                        (columns.keyCount == 0 || columns.keys != nullptr);
  if (!complete) return fail(failure, KYV_ERROR_USAGE, "the columns are null, or fewer than none");
  for (std::int32_t i = 0; i < columns.count; ++i) {
    if (!hasText(columns.names[i], "a column's name", failure)) return false;
    stream.columns.push_back({columns.names[i], columns.types[i]});
  }
  for (std::int32_t i = 0; i < columns.keyCount; ++i) {
    stream.key.push_back(static_cast<std::size_t>(columns.keys[i]));  // a negative one is beyond all columns
  }
  return true;
}

}  // namespace

// --- Errors
// -----------------------------------------------------------------------------------------------------------

kyv_error_t* kyv_error_create() {
  return call<kyv_error_t*>(nullptr, nullptr,
                            [](Failure&) { return addHandle<kyv_error_t>(std::make_shared<ErrorObject>()); });
}

std::int32_t kyv_error_free(kyv_error_t* error) { return release<ErrorObject>(error, nullptr); }

const char* kyv_error_get_message(kyv_error_t* error) {
  const auto object = findObject<ErrorObject>(error);
  return object != nullptr ? object->failure.message.c_str() : "";
}

std::int32_t kyv_error_get_code(kyv_error_t* error) {
  const auto object = findObject<ErrorObject>(error);
  return object != nullptr ? object->failure.code : KYV_ERROR_NONE;
}

// --- Projects
// ---------------------------------------------------------------------------------------------------------

std::int32_t kyv_sdk_start(kyv_error_t* error) {
  return call(error, kFailed, [](Failure&) {
    started = true;
    return 0;
  });
}

kyv_uri_t* kyv_uri_create_string(const char* text, kyv_error_t* error) {
  return call<kyv_uri_t*>(error, nullptr, [&](Failure& failure) -> kyv_uri_t* {
    ProjectAddress address;
    if (!started) {
      fail(failure, KYV_ERROR_USAGE, "the SDK was not started");
      return nullptr;
    }
    if (!hasText(text, "the address", failure) || !parseProjectUri(text, address, failure)) return nullptr;
    return addHandle<kyv_uri_t>(std::make_shared<Uri>(std::move(address)));
  });
}

std::int32_t kyv_uri_free(kyv_uri_t* uri, kyv_error_t* error) { return release<Uri>(uri, error); }

kyv_project_t* kyv_project_get(kyv_uri_t* uri, kyv_credentials_t*, kyv_options_t*, kyv_error_t* error) {
  return callOn<Uri, kyv_uri_t, kyv_project_t*>(uri, error, nullptr, [](Uri& held, Failure&) { return held.project; });
}

std::int32_t kyv_project_connect(kyv_project_t* project, kyv_error_t* error) {
  return doOn<Project>(project, error, [](Project& held, Failure& failure) { return held.connect(failure); });
}

// --- Streams
// ----------------------------------------------------------------------------------------------------------

kyv_stream_t* kyv_project_define_stream(kyv_project_t* project, const char* name, std::int32_t id,
                                        std::int32_t column_count, const char* const* column_names,
                                        const std::uint32_t* column_types, std::int32_t key_count,
                                        const std::int32_t* key_columns, kyv_error_t* error) {
  return callOn<Project, kyv_project_t, kyv_stream_t*>(
      project, error, nullptr, [&](Project& held, Failure& failure) -> kyv_stream_t* {
        if (!hasText(name, "the stream's name", failure)) return nullptr;
        StreamDefinition stream{name, id, {}, {}};
        const Columns columns{column_count, column_names, column_types, key_count, key_columns};
        if (!readColumns(columns, stream, failure)) return nullptr;
        return held.defineStream(std::move(stream), failure);
      });
}

kyv_stream_t* kyv_project_get_stream(kyv_project_t* project, const char* name, kyv_error_t* error) {
  return callOn<Project, kyv_project_t, kyv_stream_t*>(
      project, error, nullptr, [&](Project& held, Failure& failure) -> kyv_stream_t* {
        return hasText(name, "the stream's name", failure) ? held.findStream(name, failure) : nullptr;
      });
}

std::int32_t kyv_project_get_stream_count(kyv_project_t* project, kyv_error_t* error) {
  return callOn<Project>(project, error, kFailed, [](Project& held, Failure& failure) {
    std::int32_t count = 0;
    return held.countStreams(count, failure) ? count : kFailed;
  });
}

const char* kyv_project_get_stream_name(kyv_project_t* project, std::int32_t index, kyv_error_t* error) {
  return callOn<Project, kyv_project_t, const char*>(
      project, error, nullptr, [&](Project& held, Failure& failure) { return held.streamName(index, failure); });
}

std::int32_t kyv_stream_get_id(kyv_stream_t* stream, kyv_error_t* error) {
  return callOn<Stream>(stream, error, 0, [](Stream& held, Failure&) { return held.definition->id; });
}

kyv_schema_t* kyv_stream_get_schema(kyv_stream_t* stream, kyv_error_t* error) {
  return callOn<Stream, kyv_stream_t, kyv_schema_t*>(stream, error, nullptr,
                                                     [](Stream& held, Failure&) { return held.schema; });
}

std::int32_t kyv_schema_get_numcolumns(kyv_schema_t* schema, kyv_error_t* error) {
  return callOn<Schema>(schema, error, kFailed,
                        [](Schema& held, Failure&) { return static_cast<std::int32_t>(held.stream->columns.size()); });
}

std::int32_t kyv_schema_get_column_type(kyv_schema_t* schema, std::int32_t column, kyv_error_t* error) {
  return callOn<Schema>(schema, error, kFailed, [&](Schema& held, Failure& failure) {
    const StreamDefinition::Column* const found = held.column(column, failure);
    return found != nullptr ? static_cast<std::int32_t>(found->type) : kFailed;
  });
}

const char* kyv_schema_get_column_name(kyv_schema_t* schema, std::int32_t column, kyv_error_t* error) {
  return callOn<Schema, kyv_schema_t, const char*>(schema, error, nullptr, [&](Schema& held, Failure& failure) {
    const StreamDefinition::Column* const found = held.column(column, failure);
    return found != nullptr ? found->name.c_str() : nullptr;
  });
}

std::int32_t kyv_schema_is_key_column(kyv_schema_t* schema, std::int32_t column, kyv_error_t* error) {
  return callOn<Schema>(schema, error, kFailed, [&](Schema& held, Failure& failure) {
    if (held.column(column, failure) == nullptr) return kFailed;
    return std::count(held.stream->key.begin(), held.stream->key.end(), static_cast<std::size_t>(column)) > 0 ? 1 : 0;
  });
}

// --- Publishing
// -------------------------------------------------------------------------------------------------------

kyv_publisher_t* kyv_project_create_publisher(kyv_project_t* project, kyv_options_t*, kyv_error_t* error) {
  return createOn<Publisher, kyv_publisher_t>(project, error);
}

std::int32_t kyv_publisher_connect(kyv_publisher_t* publisher, kyv_error_t* error) {
  return doOn<Publisher>(publisher, error, [](Publisher& held, Failure& failure) { return held.connect(failure); });
}

std::int32_t kyv_publisher_close(kyv_publisher_t* publisher, kyv_error_t* error) {
  return doOn<Publisher>(publisher, error, [](Publisher& held, Failure&) {
    held.close();
    return true;
  });
}

std::int32_t kyv_publisher_free(kyv_publisher_t* publisher, kyv_error_t* error) {
  return release<Publisher>(publisher, error);
}

kyv_message_writer_t* kyv_publisher_get_writer(kyv_publisher_t* publisher, kyv_stream_t* stream, kyv_error_t* error) {
  return callOn<Publisher, kyv_publisher_t, kyv_message_writer_t*>(
      publisher, error, nullptr, [&](Publisher& held, Failure& failure) -> kyv_message_writer_t* {
        const auto target = findStream(stream, failure);
        return target != nullptr ? held.writer(*target, failure) : nullptr;
      });
}

std::int32_t kyv_message_writer_add_record(kyv_message_writer_t* writer, const void* record, std::uint32_t size,
                                           kyv_error_t* error) {
  return doOn<MessageWriter>(writer, error, [&](MessageWriter& held, Failure& failure) {
    if (record == nullptr) return fail(failure, KYV_ERROR_USAGE, "the record is null");
    return held.addRecord({static_cast<const char*>(record), size}, failure);
  });
}

std::int32_t kyv_publisher_publish(kyv_publisher_t* publisher, kyv_message_writer_t* writer, kyv_error_t* error) {
  return doOn<Publisher>(publisher, error, [&](Publisher& held, Failure& failure) {
    const auto rows = findObject<MessageWriter>(writer);
    if (rows == nullptr)
      return fail(failure, KYV_ERROR_USAGE, "the writer's handle is null, was released, or is another's");
    return held.publish(*rows, failure);
  });
}

kyv_relative_rowwriter_t* kyv_message_writer_get_relative_rowwriter(kyv_message_writer_t* writer, kyv_error_t* error) {
  return callOn<MessageWriter, kyv_message_writer_t, kyv_relative_rowwriter_t*>(
      writer, error, nullptr, [](MessageWriter& held, Failure&) { return held.rowWriter(); });
}

std::int32_t kyv_relative_rowwriter_start_row(kyv_relative_rowwriter_t* writer, kyv_error_t* error) {
  return onRow(writer, error, [](MessageWriter& held, Failure&) {
    held.row().start();
    return true;
  });
}

std::int32_t kyv_relative_rowwriter_set_operation(kyv_relative_rowwriter_t* writer, std::int32_t operation,
                                                  kyv_error_t* error) {
  return onRow(writer, error,
               [&](MessageWriter& held, Failure& failure) { return held.row().setOperation(operation, failure); });
}

std::int32_t kyv_relative_rowwriter_set_long(kyv_relative_rowwriter_t* writer, std::int64_t value, kyv_error_t* error) {
  return onRow(writer, error,
               [&](MessageWriter& held, Failure& failure) { return held.row().setLong(value, failure); });
}

std::int32_t kyv_relative_rowwriter_set_integer(kyv_relative_rowwriter_t* writer, std::int32_t value,
                                                kyv_error_t* error) {
  return onRow(writer, error,
               [&](MessageWriter& held, Failure& failure) { return held.row().setInteger(value, failure); });
}

std::int32_t kyv_relative_rowwriter_set_boolean(kyv_relative_rowwriter_t* writer, std::int32_t value,
                                                kyv_error_t* error) {
  return onRow(writer, error,
               [&](MessageWriter& held, Failure& failure) { return held.row().setBoolean(value != 0, failure); });
}

std::int32_t kyv_relative_rowwriter_set_null(kyv_relative_rowwriter_t* writer, kyv_error_t* error) {
  return onRow(writer, error, [](MessageWriter& held, Failure& failure) { return held.row().setNull(failure); });
}

std::int32_t kyv_relative_rowwriter_end_row(kyv_relative_rowwriter_t* writer, kyv_error_t* error) {
  return onRow(writer, error, [](MessageWriter& held, Failure& failure) { return held.endRow(failure); });
}

// --- Guaranteed delivery
// ----------------------------------------------------------------------------------------------

std::int32_t kyv_publisher_take_delivery(kyv_publisher_t* publisher, const char* adapter, kyv_error_t* error) {
  return doOn<Publisher>(publisher, error, [&](Publisher& held, Failure& failure) {
    return hasText(adapter, "the adapter's name", failure) && held.takeDelivery(adapter, failure);
  });
}

std::int32_t kyv_publisher_take_over_delivery(kyv_publisher_t* publisher, const char* adapter, kyv_error_t* error) {
  return doOn<Publisher>(publisher, error, [&](Publisher& held, Failure& failure) {
    return hasText(adapter, "the adapter's name", failure) && held.takeOverDelivery(adapter, failure);
  });
}

std::int32_t kyv_publisher_get_delivery_key(kyv_publisher_t* publisher, std::int64_t* key, std::int64_t* rows_done,
                                            kyv_error_t* error) {
  return callOn<Publisher>(publisher, error, kFailed, [&](Publisher& held, Failure& failure) {
    std::optional<DeliveryKey> stored;
    if (!held.readDelivery(stored, failure)) return kFailed;
    const DeliveryKey found = stored.value_or(DeliveryKey());
    if (key != nullptr) *key = found.key;
    if (rows_done != nullptr) *rows_done = found.rowsDone;
    return stored ? 1 : 0;
  });
}

std::int32_t kyv_publisher_set_delivery_key(kyv_publisher_t* publisher, std::int64_t key, std::int64_t rows_done,
                                            kyv_error_t* error) {
  return doOn<Publisher>(publisher, error, [&](Publisher& held, Failure& failure) {
    return held.setDeliveryKey({key, rows_done}, failure);
  });
}

// --- Subscribing
// ------------------------------------------------------------------------------------------------------

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
