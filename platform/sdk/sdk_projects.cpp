// The calls of sdk.h on errors, projects and streams.

#include <algorithm>
#include <atomic>
#include <string>
#include <utility>

#include "kyv/sdk.h"
#include "platform/sdk/calls.h"
#include "platform/sdk/project.h"

using kyv_internal::addHandle;
using kyv_internal::call;
using kyv_internal::callOn;
using kyv_internal::doOn;
using kyv_internal::ErrorObject;
using kyv_internal::fail;
using kyv_internal::Failure;
using kyv_internal::findObject;
using kyv_internal::findStream;
using kyv_internal::hasText;
using kyv_internal::IfMissing;
using kyv_internal::kFailed;
using kyv_internal::parseProjectUri;
using kyv_internal::Project;
using kyv_internal::ProjectAddress;
using kyv_internal::release;
using kyv_internal::Schema;
using kyv_internal::Stream;
using kyv_internal::StreamDefinition;
using kyv_internal::Uri;

namespace {

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
  return doOn<Project>(project, error,
                       [](Project& held, Failure& failure) { return held.connect(IfMissing::Create, failure); });
}

std::int32_t kyv_project_connect_existing(kyv_project_t* project, kyv_error_t* error) {
  return doOn<Project>(project, error,
                       [](Project& held, Failure& failure) { return held.connect(IfMissing::Fail, failure); });
}

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
