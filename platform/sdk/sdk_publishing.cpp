// The calls of sdk.h on publishers, their writers, and guaranteed delivery.

#include <memory>
#include <optional>

#include "kyv/sdk.h"
#include "platform/sdk/calls.h"
#include "platform/sdk/publisher.h"

using kyv_internal::callOn;
using kyv_internal::createOn;
using kyv_internal::DeliveryKey;
using kyv_internal::doOn;
using kyv_internal::fail;
using kyv_internal::Failure;
using kyv_internal::findObject;
using kyv_internal::findStream;
using kyv_internal::hasText;
using kyv_internal::kFailed;
using kyv_internal::MessageWriter;
using kyv_internal::Project;
using kyv_internal::Publisher;
using kyv_internal::release;
using kyv_internal::RowWriterOf;

namespace {

template <class Body>
std::int32_t onRow(kyv_relative_rowwriter_t* handle, kyv_error_t* error, Body body) {
  return doOn<RowWriterOf>(handle, error, [&](RowWriterOf& row, Failure& failure) {
    const std::shared_ptr<MessageWriter> writer = row.writer.lock();
    return writer != nullptr ? body(*writer, failure)
                             : fail(failure, KYV_ERROR_USAGE, "the row's publisher was released");
  });
}

// 1 when there is a key, 0 when not: then both are 0.
std::int32_t giveKey(const std::optional<DeliveryKey>& stored, std::int64_t* key, std::int64_t* rowsDone) {
  const DeliveryKey found = stored.value_or(DeliveryKey());
  if (key != nullptr) *key = found.key;
  if (rowsDone != nullptr) *rowsDone = found.rowsDone;
  return stored ? 1 : 0;
}

}  // namespace

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
    return held.readDelivery(stored, failure) ? giveKey(stored, key, rows_done) : kFailed;
  });
}

std::int32_t kyv_project_get_delivery_key(kyv_project_t* project, const char* adapter, std::int64_t* key,
                                          std::int64_t* rows_done, kyv_error_t* error) {
  return callOn<Project>(project, error, kFailed, [&](Project& held, Failure& failure) {
    std::optional<DeliveryKey> stored;
    if (!hasText(adapter, "the adapter's name", failure)) return kFailed;
    return held.readDelivery(adapter, stored, failure) ? giveKey(stored, key, rows_done) : kFailed;
  });
}

std::int32_t kyv_publisher_set_delivery_key(kyv_publisher_t* publisher, std::int64_t key, std::int64_t rows_done,
                                            kyv_error_t* error) {
  return doOn<Publisher>(publisher, error, [&](Publisher& held, Failure& failure) {
    return held.setDeliveryKey({key, rows_done}, failure);
  });
}
