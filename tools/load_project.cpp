#include "load_project.h"

#include <algorithm>
#include <vector>

#include "kyv/data_types.h"
#include "load_messages.h"
#include "project_uri.h"
#include "record_header.h"

namespace kyv_internal {
namespace {

std::int32_t positionOf(const SchemaFile& schema, const std::string& column) {
  const auto found = std::find_if(schema.columns.begin(), schema.columns.end(),
                                  [&](const kyv::StreamColumn& candidate) { return candidate.name == column; });
  return static_cast<std::int32_t>(found - schema.columns.begin());
}

bool hasLong(kyv_schema_t* columns, kyv_error_t* error) {
  const std::int32_t count = kyv_schema_get_numcolumns(columns, error);
  for (std::int32_t i = 0; i < count; ++i) {
    if (kyv_schema_get_column_type(columns, i, error) == static_cast<std::int32_t>(DataTypes::kLong)) return true;
  }
  return false;
}

}  // namespace

StoreFailure otherDefinition(const std::string& stream) {
  return {KYV_ERROR_REFUSED, userMessage("streamDiffers", {stream})};
}

LoadProject::~LoadProject() {
  if (publisher_ != nullptr) kyv_publisher_free(publisher_, error_);
  if (uri_ != nullptr) kyv_uri_free(uri_, error_);
  if (error_ != nullptr) kyv_error_free(error_);
}

bool LoadProject::fail(StoreFailure& failure) const {
  failure = {kyv_error_get_code(error_), kyv_error_get_message(error_)};
  return false;
}

bool LoadProject::connect(StoreFailure& failure) {
  error_ = kyv_error_create();
  if (kyv_sdk_start(error_) != 0) return fail(failure);
  uri_ = kyv_uri_create_string(projectUri(name_).c_str(), error_);
  if (uri_ != nullptr) project_ = kyv_project_get(uri_, nullptr, nullptr, error_);
  return (project_ != nullptr && kyv_project_connect(project_, error_) == 0) || fail(failure);
}

bool LoadProject::open(const SchemaFile& schema, StoreFailure& failure) {
  if (!connect(failure)) return false;
  kyv_stream_t* const stream = defineStream(schema, failure);
  if (stream == nullptr) return false;
  publisher_ = kyv_project_create_publisher(project_, nullptr, error_);
  if (publisher_ != nullptr) writer_ = kyv_publisher_get_writer(publisher_, stream, error_);
  return writer_ != nullptr || fail(failure);
}

bool LoadProject::addBookkeeping(const SchemaFile& schema, StoreFailure& failure) {
  kyv_stream_t* const stream = kyv_project_get_stream(project_, schema.stream.c_str(), error_);
  if (stream == nullptr && kyv_error_get_code(error_) == KYV_ERROR_MISSING) {
    return defineStream(schema, failure) != nullptr;
  }
  kyv_schema_t* const columns = stream != nullptr ? kyv_stream_get_schema(stream, error_) : nullptr;
  if (columns == nullptr) return fail(failure);
  if (hasLong(columns, error_)) return true;
  failure = {KYV_ERROR_REFUSED, "--bookkeeping: stream \"" + schema.stream + "\" has no column of type long"};
  return false;
}

kyv_stream_t* LoadProject::defineStream(const SchemaFile& schema, StoreFailure& failure) {
  std::vector<const char*> names;
  std::vector<std::uint32_t> types;
  std::vector<std::int32_t> key;
  for (const kyv::StreamColumn& column : schema.columns) {
    names.push_back(column.name.c_str());
    types.push_back(column.type);
  }
  for (const std::string& column : schema.key) key.push_back(positionOf(schema, column));
  kyv_stream_t* const stream =
      kyv_project_define_stream(project_, schema.stream.c_str(), schema.id, static_cast<std::int32_t>(names.size()),
                                names.data(), types.data(), static_cast<std::int32_t>(key.size()), key.data(), error_);
  if (stream != nullptr) return stream;
  fail(failure);
  const bool isRefused = failure.code == KYV_ERROR_REFUSED;
  const bool isThere = isRefused && kyv_project_get_stream(project_, schema.stream.c_str(), error_) != nullptr;
  if (isThere) failure = otherDefinition(schema.stream);
  return nullptr;
}

bool LoadProject::takeDelivery(Take how, std::optional<LoadPosition>& position, StoreFailure& failure) {
  if (kyv_publisher_connect(publisher_, error_) != 0) return fail(failure);
  const char* const adapter = adapter_.c_str();
  const bool taken = how == Take::kAnyway ? kyv_publisher_take_over_delivery(publisher_, adapter, error_) == 0
                                          : kyv_publisher_take_delivery(publisher_, adapter, error_) == 0;
  return taken ? readPosition(position, failure) : fail(failure);
}

bool LoadProject::takeDeliveryAgain(std::optional<LoadPosition>& position, StoreFailure& failure) {
  if (kyv_publisher_close(publisher_, error_) != 0) return fail(failure);
  return takeDelivery(Take::kIfFree, position, failure);
}

bool LoadProject::readPosition(std::optional<LoadPosition>& position, StoreFailure& failure) {
  LoadPosition stored;
  const std::int32_t found = kyv_publisher_get_delivery_key(publisher_, &stored.key, &stored.rowsDone, error_);
  if (found < 0) return fail(failure);
  position = found > 0 ? std::optional(stored) : std::nullopt;
  return true;
}

bool LoadProject::publish(const LoadBatch& batch, StoreFailure& failure) {
  const bool done = addRecords(batch) &&
                    kyv_publisher_set_delivery_key(publisher_, batch.end.key, batch.end.rowsDone, error_) == 0 &&
                    kyv_publisher_publish(publisher_, writer_, error_) == 0;
  return done || fail(failure);
}

bool LoadProject::addRecords(const LoadBatch& batch) {
  const std::string_view records = batch.records.view();
  for (std::size_t at = 0; at < records.size();) {
    const std::string_view record = recordAt(records, at);
    if (kyv_message_writer_add_record(writer_, record.data(), static_cast<std::uint32_t>(record.size()), error_) != 0) {
      return false;
    }
    at += record.size();
  }
  return true;
}

}  // namespace kyv_internal
