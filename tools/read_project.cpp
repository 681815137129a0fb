#include "read_project.h"

#include "project_uri.h"

namespace kyv_internal {

bool ReadProject::open(const std::string& project) {
  if (kyv_sdk_start(error_.get()) != 0) return false;
  uri_.reset(kyv_uri_create_string(projectUri(project).c_str(), error_.get()));
  if (uri_ == nullptr) return false;
  project_ = kyv_project_get(uri_.get(), nullptr, nullptr, error_.get());
  return project_ != nullptr && kyv_project_connect_existing(project_, error_.get()) == 0;
}

bool ReadProject::listStreams(std::vector<std::string>& names) {
  const std::int32_t count = kyv_project_get_stream_count(project_, error_.get());
  for (std::int32_t i = 0; i < count; ++i) {
    const char* const name = kyv_project_get_stream_name(project_, i, error_.get());
    if (name == nullptr) return false;
    names.emplace_back(name);
  }
  return count >= 0;
}

bool ReadProject::describe(const std::string& stream, SchemaFile& schema) {
  kyv_stream_t* const found = kyv_project_get_stream(project_, stream.c_str(), error_.get());
  if (found == nullptr) return false;
  kyv_schema_t* const columns = kyv_stream_get_schema(found, error_.get());
  schema.stream = stream;
  schema.id = kyv_stream_get_id(found, error_.get());
  for (std::int32_t i = 0; i < kyv_schema_get_numcolumns(columns, error_.get()); ++i) {
    const char* const name = kyv_schema_get_column_name(columns, i, error_.get());
    const std::int32_t type = kyv_schema_get_column_type(columns, i, error_.get());
    if (name == nullptr || type < 0) return false;
    schema.columns.push_back({name, static_cast<unsigned int>(type)});
    if (kyv_schema_is_key_column(columns, i, error_.get()) == 1) schema.key.emplace_back(name);
  }
  schema.nulls.resize(schema.columns.size());
  return !schema.columns.empty();
}

bool ReadProject::readDelivery(const std::string& adapter, std::optional<LoadPosition>& position) {
  LoadPosition stored;
  const std::int32_t found =
      kyv_project_get_delivery_key(project_, adapter.c_str(), &stored.key, &stored.rowsDone, error_.get());
  if (found > 0) position = stored;
  return found >= 0;
}

bool ReadProject::subscribe(const std::string& stream, std::int64_t after) {
  kyv_stream_t* const found = kyv_project_get_stream(project_, stream.c_str(), error_.get());
  if (found == nullptr) return false;
  subscriber_.reset(kyv_project_create_subscriber(project_, nullptr, error_.get()));
  return subscriber_ != nullptr && kyv_subscriber_connect(subscriber_.get(), error_.get()) == 0 &&
         kyv_subscriber_subscribe_from(subscriber_.get(), found, after, error_.get()) == 0;
}

// Goes on to the next event. One without rows has no reader.
bool ReadProject::nextEvent() {
  reader_ = nullptr;
  kyv_subscriber_event_t* const event = kyv_subscriber_get_next_event(subscriber_.get(), error_.get());
  if (event == nullptr) return false;
  if (kyv_subscriber_event_get_type(event, error_.get()) != KYV_EVENT_ROWS) return true;
  reader_ = kyv_subscriber_event_get_reader(event, error_.get());
  return reader_ != nullptr;
}

bool ReadProject::next(StreamRow& row) {
  row = {};
  kyv_row_reader_t* found = nullptr;
  while (found == nullptr) {
    if (reader_ == nullptr && !nextEvent()) return false;
    if (reader_ == nullptr) return true;
    found = kyv_message_reader_next_row(reader_, error_.get());
    if (found != nullptr) break;
    if (kyv_error_get_code(error_.get()) != KYV_ERROR_NONE) return false;
    reader_ = nullptr;
  }
  std::uint32_t size = 0;
  const void* const record = kyv_row_reader_get_record(found, &size, error_.get());
  if (record == nullptr) return false;
  row.record = {static_cast<const char*>(record), size};
  row.number = kyv_row_reader_get_number(found, error_.get());
  return row.number >= 0;
}

bool ReadProject::wait(int millis) { return kyv_subscriber_wait(subscriber_.get(), millis, error_.get()) >= 0; }

}  // namespace kyv_internal
