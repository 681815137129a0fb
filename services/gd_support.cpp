#include "kyv/gd_support.h"

#include <string>

#include "kyv/data_types.h"
#include "kyv/sdk.h"
#include "kyv/string_utility.h"
#include "services/handle_cell.h"

namespace {

constexpr const char* kServer = "localhost:0000";
constexpr std::int32_t kUpsert = 7;
constexpr std::int32_t kIntegerValue = 1;  // of an integer column

// The text of the SDK's last failure; "" without one.
const char* messageOf(kyv_error* error) {
  const char* const message = error != nullptr ? kyv_error_get_message(error) : nullptr;
  return message != nullptr ? message : "";
}

// The text of what fails during one operation: the last one stays.
class FailureText {
 public:
  FailureText(const GDSupport& support, char** out) : support_(support), out_(out) {}

  // Always 1.
  int store() {
    char* const earlier = stored_ ? *out_ : nullptr;
    const int result = support_.getError(out_);
    delete[] earlier;
    stored_ = out_ != nullptr;
    return result;
  }

 private:
  const GDSupport& support_;
  char** out_;
  bool stored_ = false;  // in *out_, which is the caller's before
};

}  // namespace

int GDSupport::getError(char** text) const {
  if (text != nullptr) *text = kyv_internal::newText(messageOf(error));
  return 1;
}

// --- Connecting
// -------------------------------------------------------------------------------------------------------

int GDSupport::createGDSupport(const char* streamName, const char* projectPath, int number, char** text) {
  const bool done = startSdk() && openProject(projectPath, number) && openStream(streamName) && openWriters();
  return done ? 0 : getError(text);
}

bool GDSupport::startSdk() {
  error = kyv_error_create();
  return error != nullptr && kyv_sdk_start(error) == 0;
}

bool GDSupport::openProject(const char* path, int number) {
  const std::string address = DALVON::Kyv::strprintf("kyv://%s/default/%s:%d", kServer, path, number);
  uri = kyv_uri_create_string(address.c_str(), error);
  if (uri == nullptr) return false;
  project = kyv_project_get(uri, nullptr, nullptr, error);
  if (project == nullptr || kyv_project_connect(project, error) != 0) return false;
  subscriber = kyv_project_create_subscriber(project, nullptr, error);
  if (subscriber == nullptr) return false;
  publisher = kyv_project_create_publisher(project, nullptr, error);
  return publisher != nullptr;
}

bool GDSupport::openStream(const char* name) {
  stream = kyv_project_get_stream(project, name, error);
  if (stream == nullptr) return false;
  schema = kyv_stream_get_schema(stream, error);
  if (schema == nullptr) return false;
  const std::int32_t count = kyv_schema_get_numcolumns(schema, error);
  if (count < 0) return false;
  numColumns = count;
  return true;
}

bool GDSupport::openWriters() {
  writer = kyv_publisher_get_writer(publisher, stream, error);
  if (writer == nullptr) return false;
  rowWriter = kyv_message_writer_get_relative_rowwriter(writer, error);
  return rowWriter != nullptr;
}

// --- Writing
// ----------------------------------------------------------------------------------------------------------

int GDSupport::updateTruncateStream(long long key, bool truncate, char** text) {
  FailureText failure(*this, text);
  if (!startRow()) return failure.store();
  for (std::int32_t column = 0; column < numColumns; ++column) {
    if (!setColumn(column, key, truncate)) failure.store();
  }
  // Required as is: the message is published even when its row could not be ended.
  if (kyv_relative_rowwriter_end_row(rowWriter, error) != 0) failure.store();
  return kyv_publisher_publish(publisher, writer, error) == 0 ? 0 : failure.store();
}

bool GDSupport::startRow() {
  return kyv_publisher_connect(publisher, error) == 0 && kyv_relative_rowwriter_start_row(rowWriter, error) == 0 &&
         kyv_relative_rowwriter_set_operation(rowWriter, kUpsert, error) == 0;
}

bool GDSupport::setColumn(std::int32_t column, long long key, bool truncate) {
  const std::int32_t type = kyv_schema_get_column_type(schema, column, error);
  if (type < 0) return false;
  switch (static_cast<unsigned int>(type)) {
    case DataTypes::kLong:
      return kyv_relative_rowwriter_set_long(rowWriter, key, error) == 0;
    case DataTypes::kBoolean:
      return kyv_relative_rowwriter_set_boolean(rowWriter, truncate ? 1 : 0, error) == 0;
    case DataTypes::kInteger:
      return kyv_relative_rowwriter_set_integer(rowWriter, kIntegerValue, error) == 0;
    default:
      return kyv_relative_rowwriter_set_null(rowWriter, error) == 0;
  }
}

// --- Reading
// ----------------------------------------------------------------------------------------------------------

long long GDSupport::getLastProcessedGDKey(char** text) {
  FailureText failure(*this, text);
  std::int64_t key = 0;
  bool going =
      kyv_subscriber_connect(subscriber, error) == 0 && kyv_subscriber_subscribe(subscriber, stream, error) == 0;
  while (going) {
    kyv_subscriber_event* const event = kyv_subscriber_get_next_event(subscriber, error);
    const std::int32_t type = event != nullptr ? kyv_subscriber_event_get_type(event, error) : -1;
    if (type == KYV_EVENT_END) return key;
    going = type >= 0 && (type != KYV_EVENT_ROWS || readRows(event, key));
  }
  failure.store();
  return 0;
}

bool GDSupport::readRows(kyv_subscriber_event* event, std::int64_t& key) {
  kyv_message_reader_t* const reader = kyv_subscriber_event_get_reader(event, error);
  if (reader == nullptr) return false;
  while (kyv_row_reader* const row = kyv_message_reader_next_row(reader, error)) {
    if (!readRow(row, key)) return false;
  }
  // Every call empties the error object first, so what is in it is why there is no next row.
  return *messageOf(error) == '\0';
}

bool GDSupport::readRow(kyv_row_reader* row, std::int64_t& key) {
  for (std::int32_t column = 0; column < numColumns; ++column) {
    const std::int32_t isNull = kyv_row_reader_is_null(row, column, error);
    if (isNull < 0) return false;
    if (isNull != 0) continue;
    const std::int32_t type = kyv_schema_get_column_type(schema, column, error);
    if (type < 0) return false;
    const bool isKey = static_cast<unsigned int>(type) == DataTypes::kLong;
    if (isKey && kyv_row_reader_get_long(row, column, &key, error) != 0) return false;
  }
  return true;
}

// --- Closing
// ----------------------------------------------------------------------------------------------------------

int GDSupport::deleteGDSupport(char** text) {
  return releasePublisher() && releaseSubscriber() && releaseUri() && releaseError() ? 0 : getError(text);
}

// What belongs to a released handle goes with it.
bool GDSupport::releasePublisher() {
  if (publisher == nullptr) return true;
  if (kyv_publisher_close(publisher, error) != 0 || kyv_publisher_free(publisher, error) != 0) return false;
  publisher = nullptr;
  writer = nullptr;
  rowWriter = nullptr;
  return true;
}

bool GDSupport::releaseSubscriber() {
  if (subscriber == nullptr) return true;
  if (kyv_subscriber_close(subscriber, error) != 0 || kyv_subscriber_free(subscriber, error) != 0) return false;
  subscriber = nullptr;
  return true;
}

bool GDSupport::releaseUri() {
  if (uri == nullptr) return true;
  if (kyv_uri_free(uri, error) != 0) return false;
  uri = nullptr;
  project = nullptr;
  stream = nullptr;
  schema = nullptr;
  numColumns = 0;
  return true;
}

bool GDSupport::releaseError() {
  if (error == nullptr) return true;
  if (kyv_error_free(error) != 0) return false;
  error = nullptr;
  return true;
}
