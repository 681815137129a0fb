#include "tests/services/scripted_sdk.h"

#include "kyv/sdk.h"

using kyv_test::scriptedSdk;

namespace kyv_test {

ScriptedSdk& scriptedSdk() {
  static ScriptedSdk sdk;
  return sdk;
}

}  // namespace kyv_test

namespace {

// Whether a call succeeds.
bool happens(const std::string& call) {
  auto& sdk = scriptedSdk();
  sdk.calls.push_back(call);
  const bool fails = sdk.failures > 0 && call.substr(0, call.find(' ')) == sdk.failing;
  if (fails && sdk.failures != kyv_test::kForever) --sdk.failures;
  sdk.message = fails ? sdk.failing + " failed" : "";
  return !fails;
}

std::int32_t status(const std::string& call) { return happens(call) ? 0 : -1; }

// Every handle is the script itself: nobody looks into one.
template <class Handle>
Handle* handle(bool there) {
  return there ? static_cast<Handle*>(static_cast<void*>(&scriptedSdk())) : nullptr;
}

const kyv_test::ScriptedSdk::Event& currentEvent() { return scriptedSdk().events[scriptedSdk().nextEvent - 1]; }

const std::optional<std::int64_t>& value(std::int32_t column) {
  return currentEvent().rows[scriptedSdk().nextRow - 1][static_cast<std::size_t>(column)];
}

std::string with(const char* call, std::int64_t value) { return call + (' ' + std::to_string(value)); }

}  // namespace

kyv_error_t* kyv_error_create() { return handle<kyv_error_t>(happens("error_create")); }
std::int32_t kyv_error_free(kyv_error_t*) { return status("error_free"); }
const char* kyv_error_get_message(kyv_error_t*) {
  return scriptedSdk().hasTexts ? scriptedSdk().message.c_str() : nullptr;
}

std::int32_t kyv_sdk_start(kyv_error_t*) { return status("sdk_start"); }
kyv_uri_t* kyv_uri_create_string(const char* text, kyv_error_t*) {
  return handle<kyv_uri_t>(happens("uri_create_string " + std::string(text)));
}
std::int32_t kyv_uri_free(kyv_uri_t*, kyv_error_t*) { return status("uri_free"); }
kyv_project_t* kyv_project_get(kyv_uri_t*, kyv_credentials_t*, kyv_options_t*, kyv_error_t*) {
  return handle<kyv_project_t>(happens("project_get"));
}
std::int32_t kyv_project_connect(kyv_project_t*, kyv_error_t*) { return status("project_connect"); }
kyv_stream_t* kyv_project_get_stream(kyv_project_t*, const char* name, kyv_error_t*) {
  return handle<kyv_stream_t>(happens("project_get_stream " + std::string(name)));
}
kyv_schema_t* kyv_stream_get_schema(kyv_stream_t*, kyv_error_t*) {
  return handle<kyv_schema_t>(happens("stream_get_schema"));
}
std::int32_t kyv_schema_get_numcolumns(kyv_schema_t*, kyv_error_t*) {
  return happens("schema_get_numcolumns") ? static_cast<std::int32_t>(scriptedSdk().columnTypes.size()) : -1;
}
std::int32_t kyv_schema_get_column_type(kyv_schema_t*, std::int32_t column, kyv_error_t*) {
  return happens(with("schema_get_column_type", column)) ? scriptedSdk().columnTypes[static_cast<std::size_t>(column)]
                                                         : -1;
}

kyv_publisher_t* kyv_project_create_publisher(kyv_project_t*, kyv_options_t*, kyv_error_t*) {
  return handle<kyv_publisher_t>(happens("project_create_publisher"));
}
std::int32_t kyv_publisher_connect(kyv_publisher_t*, kyv_error_t*) { return status("publisher_connect"); }
std::int32_t kyv_publisher_close(kyv_publisher_t*, kyv_error_t*) { return status("publisher_close"); }
std::int32_t kyv_publisher_free(kyv_publisher_t*, kyv_error_t*) { return status("publisher_free"); }
kyv_message_writer_t* kyv_publisher_get_writer(kyv_publisher_t*, kyv_stream_t*, kyv_error_t*) {
  return handle<kyv_message_writer_t>(happens("publisher_get_writer"));
}
std::int32_t kyv_publisher_publish(kyv_publisher_t*, kyv_message_writer_t*, kyv_error_t*) {
  return status("publisher_publish");
}

using RowWriter = kyv_relative_rowwriter_t;

RowWriter* kyv_message_writer_get_relative_rowwriter(kyv_message_writer_t*, kyv_error_t*) {
  return handle<RowWriter>(happens("message_writer_get_relative_rowwriter"));
}
std::int32_t kyv_relative_rowwriter_start_row(RowWriter*, kyv_error_t*) {
  return status("relative_rowwriter_start_row");
}
std::int32_t kyv_relative_rowwriter_set_operation(RowWriter*, std::int32_t operation, kyv_error_t*) {
  return status(with("relative_rowwriter_set_operation", operation));
}
std::int32_t kyv_relative_rowwriter_set_long(RowWriter*, std::int64_t value, kyv_error_t*) {
  return status(with("relative_rowwriter_set_long", value));
}
std::int32_t kyv_relative_rowwriter_set_integer(RowWriter*, std::int32_t value, kyv_error_t*) {
  return status(with("relative_rowwriter_set_integer", value));
}
std::int32_t kyv_relative_rowwriter_set_boolean(RowWriter*, std::int32_t value, kyv_error_t*) {
  return status(with("relative_rowwriter_set_boolean", value));
}
std::int32_t kyv_relative_rowwriter_set_null(RowWriter*, kyv_error_t*) { return status("relative_rowwriter_set_null"); }
std::int32_t kyv_relative_rowwriter_end_row(RowWriter*, kyv_error_t*) { return status("relative_rowwriter_end_row"); }

kyv_subscriber_t* kyv_project_create_subscriber(kyv_project_t*, kyv_options_t*, kyv_error_t*) {
  return handle<kyv_subscriber_t>(happens("project_create_subscriber"));
}
std::int32_t kyv_subscriber_connect(kyv_subscriber_t*, kyv_error_t*) { return status("subscriber_connect"); }
std::int32_t kyv_subscriber_close(kyv_subscriber_t*, kyv_error_t*) { return status("subscriber_close"); }
std::int32_t kyv_subscriber_free(kyv_subscriber_t*, kyv_error_t*) { return status("subscriber_free"); }
std::int32_t kyv_subscriber_subscribe(kyv_subscriber_t*, kyv_stream_t*, kyv_error_t*) {
  scriptedSdk().nextEvent = 0;
  return status("subscriber_subscribe");
}
kyv_subscriber_event_t* kyv_subscriber_get_next_event(kyv_subscriber_t*, kyv_error_t*) {
  scriptedSdk().nextRow = 0;
  if (!happens("subscriber_get_next_event")) return nullptr;
  ++scriptedSdk().nextEvent;
  return handle<kyv_subscriber_event_t>(true);
}
std::int32_t kyv_subscriber_event_get_type(kyv_subscriber_event_t*, kyv_error_t*) {
  return happens("subscriber_event_get_type") ? currentEvent().type : -1;
}
kyv_message_reader_t* kyv_subscriber_event_get_reader(kyv_subscriber_event_t*, kyv_error_t*) {
  return handle<kyv_message_reader_t>(happens("subscriber_event_get_reader"));
}
kyv_row_reader_t* kyv_message_reader_next_row(kyv_message_reader_t*, kyv_error_t*) {
  if (!happens("message_reader_next_row")) return nullptr;
  return handle<kyv_row_reader_t>(scriptedSdk().nextRow++ < currentEvent().rows.size());
}
std::int32_t kyv_row_reader_is_null(kyv_row_reader_t*, std::int32_t column, kyv_error_t*) {
  if (!happens(with("row_reader_is_null", column))) return -1;
  return value(column) ? 0 : 1;
}
std::int32_t kyv_row_reader_get_long(kyv_row_reader_t*, std::int32_t column, std::int64_t* out, kyv_error_t*) {
  if (!happens(with("row_reader_get_long", column))) return -1;
  *out = *value(column);
  return 0;
}
