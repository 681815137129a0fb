#include "platform/sdk/project.h"

#include "platform/sdk/store_module.h"
#include "platform/sdk/stream_record.h"

namespace kyv_internal {

const StreamDefinition::Column* Schema::column(std::int32_t position, Failure& failure) const {
  const auto index = static_cast<std::size_t>(position);  // of a negative one beyond all
  if (index < stream->columns.size()) return &stream->columns[index];
  fail(failure, KYV_ERROR_USAGE, "stream '%s' has no column %d", stream->name.c_str(), position);
  return nullptr;
}

Stream::Stream(Address project, StreamDefinition stream)
    : address(std::move(project)),
      definition(std::make_shared<const StreamDefinition>(std::move(stream))),
      schema(owned.add<kyv_schema_t>(std::make_shared<Schema>(definition))) {}

bool Project::connect(IfMissing ifMissing, Failure& failure) {
  const std::lock_guard lock(mutex_);
  if (store_ != nullptr) return true;
  store_ = ifMissing == IfMissing::Create ? openStore(*address_, failure) : reopenStore(*address_, failure);
  connected_ = connected_ || store_ != nullptr;
  return store_ != nullptr;
}

template <class Operation>
bool Project::withStore(Failure& failure, Operation operation) {
  if (!isConnected(failure)) return false;
  if (store_ == nullptr) store_ = reopenStore(*address_, failure);
  if (store_ == nullptr) return false;
  const bool done = operation(*store_);
  if (!done && failure.code == KYV_ERROR_STORE) store_.reset();
  return done;
}

bool Project::isConnected(Failure& failure) const {
  return connected_ || fail(failure, KYV_ERROR_USAGE, "the project '%s:%s' is not connected", address_->path.c_str(),
                            address_->number.c_str());
}

Address Project::connectedAddress(Failure& failure) {
  const std::lock_guard lock(mutex_);
  return isConnected(failure) ? address_ : nullptr;
}

kyv_stream_t* Project::handleOf(StreamDefinition stream) {
  kyv_stream_t*& handle = streams_[stream.name];
  const auto known = findObject<Stream>(handle);
  if (known == nullptr || *known->definition != stream)
    handle = owned_.add<kyv_stream_t>(std::make_shared<Stream>(address_, std::move(stream)));
  return handle;
}

kyv_stream_t* Project::defineStream(StreamDefinition stream, Failure& failure) {
  const std::lock_guard lock(mutex_);
  const bool defined = isConnected(failure) && checkDefinition(stream, failure) &&
                       withStore(failure, [&](EventStore& store) { return store.defineStream(stream, failure); });
  return defined ? handleOf(std::move(stream)) : nullptr;
}

kyv_stream_t* Project::findStream(const std::string& name, Failure& failure) {
  const std::lock_guard lock(mutex_);
  StreamDefinition stream;
  const bool found = withStore(failure, [&](EventStore& store) { return store.findStream(name, stream, failure); });
  if (!found) return nullptr;
  Failure reason;
  if (!checkDefinition(stream, reason)) {
    fail(failure, KYV_ERROR_STORE, "the stored definition is damaged: %s", reason.message.c_str());
    return nullptr;
  }
  return handleOf(std::move(stream));
}

bool Project::countStreams(std::int32_t& count, Failure& failure) {
  const std::lock_guard lock(mutex_);
  std::vector<std::string> names;
  const bool listed = withStore(failure, [&](EventStore& store) { return store.listStreams(names, failure); });
  if (!listed) return false;
  names_ = std::move(names);
  count = static_cast<std::int32_t>(names_.size());
  return true;
}

const char* Project::streamName(std::int32_t index, Failure& failure) {
  const std::lock_guard lock(mutex_);
  const auto place = static_cast<std::size_t>(index);  // of a negative one beyond all
  if (place < names_.size()) return names_[place].c_str();
  fail(failure, KYV_ERROR_USAGE, "of the project's streams %zu were counted, none is at %d", names_.size(), index);
  return nullptr;
}

bool Project::readDelivery(const std::string& adapter, std::optional<DeliveryKey>& key, Failure& failure) {
  const std::lock_guard lock(mutex_);
  return withStore(failure, [&](EventStore& store) { return store.readDelivery(adapter, key, failure); });
}

Uri::Uri(ProjectAddress address)
    : project(owned.add<kyv_project_t>(
          std::make_shared<Project>(std::make_shared<const ProjectAddress>(std::move(address))))) {}

}  // namespace kyv_internal
