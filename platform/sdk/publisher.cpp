#include "platform/sdk/publisher.h"

#include "platform/sdk/store_module.h"
#include "platform/sdk/stream_record.h"

namespace kyv_internal {

namespace {

// What is true when a publish is over, however it ends.
struct Emptied {
  MessageWriter& writer;
  std::optional<Delivery>& delivery;

  ~Emptied() {
    writer.clear();
    if (delivery) delivery->key.reset();
  }
};

}  // namespace

bool MessageWriter::addRecord(std::string_view record, Failure& failure) {
  const std::optional<StreamRecord> checked = StreamRecord::check(*stream_, record, failure);
  if (!checked) return false;
  dropLeftovers();
  if (!checked->appendKey(keys_, failure)) return false;
  records_.append(record);
  parts_.push_back({checked->change(), keys_.size(), records_.size()});
  return true;
}

// What an addition left that failed, or that ran out of memory.
void MessageWriter::dropLeftovers() {
  keys_.resize(parts_.empty() ? 0 : parts_.back().keyEnd);
  records_.resize(parts_.empty() ? 0 : parts_.back().end);
}

bool MessageWriter::endRow(Failure& failure) { return row_.end(ended_, failure) && addRecord(ended_, failure); }

kyv_relative_rowwriter_t* MessageWriter::rowWriter() {
  if (rowWriter_ == nullptr) {
    rowWriter_ = owned_.add<kyv_relative_rowwriter_t>(std::make_shared<RowWriterOf>(weak_from_this()));
  }
  return rowWriter_;
}

std::vector<PublishedRow> MessageWriter::rows() const {
  std::vector<PublishedRow> rows;
  rows.reserve(parts_.size());
  std::size_t keyBegin = 0;
  std::size_t begin = 0;
  for (const Part& part : parts_) {
    rows.push_back({part.change, std::string_view(keys_).substr(keyBegin, part.keyEnd - keyBegin),
                    std::string_view(records_).substr(begin, part.end - begin)});
    keyBegin = part.keyEnd;
    begin = part.end;
  }
  return rows;
}

void MessageWriter::clear() {
  keys_.clear();
  records_.clear();
  parts_.clear();
}

bool Publisher::connect(Failure& failure) {
  if (store_ == nullptr) store_ = reopenStore(*address_, failure);
  return store_ != nullptr;
}

void Publisher::close() {
  store_.reset();
  delivery_.reset();
  for (const auto& [stream, handle] : writers_) {
    if (const auto writer = findObject<MessageWriter>(handle)) writer->clear();
  }
}

bool Publisher::isConnected(Failure& failure) const {
  return store_ != nullptr || fail(failure, KYV_ERROR_USAGE, "the publisher is not connected");
}

kyv_message_writer_t* Publisher::writer(const Stream& stream, Failure& failure) {
  if (stream.address != address_) {
    fail(failure, KYV_ERROR_USAGE, "stream '%s' belongs to another project", stream.definition->name.c_str());
    return nullptr;
  }
  kyv_message_writer_t*& handle = writers_[stream.definition->name];
  if (handle == nullptr) handle = owned_.add<kyv_message_writer_t>(std::make_shared<MessageWriter>(stream.definition));
  return handle;
}

bool Publisher::publish(MessageWriter& writer, Failure& failure) {
  if (!isConnected(failure)) return false;
  const auto own = writers_.find(writer.stream().name);
  if (own == writers_.end() || findObject<MessageWriter>(own->second).get() != &writer) {
    return fail(failure, KYV_ERROR_USAGE, "the writer belongs to another publisher");
  }
  const Emptied afterwards{writer, delivery_};
  return store_->publish(writer.stream(), writer.rows(), delivery_ ? &*delivery_ : nullptr, failure);
}

bool Publisher::takeDelivery(const std::string& adapter, Failure& failure) {
  const auto known = fences_.find(adapter);
  const bool hadIt = known != fences_.end() && known->second != kNoFence;
  return take(adapter, hadIt ? Take::IfStillMine : Take::IfFree, failure);
}

bool Publisher::takeOverDelivery(const std::string& adapter, Failure& failure) {
  return take(adapter, Take::Anyway, failure);
}

// Nothing that needs memory comes after the store has given the delivery.
bool Publisher::take(const std::string& adapter, Take how, Failure& failure) {
  if (!isConnected(failure)) return false;
  if (adapter.empty()) return fail(failure, KYV_ERROR_USAGE, "an adapter needs a name");
  std::int64_t& last = fences_.try_emplace(adapter, kNoFence).first->second;
  Delivery delivery{adapter, last, {}};
  if (!store_->takeDelivery(adapter, how, delivery.fence, failure)) return false;
  last = delivery.fence;
  delivery_ = std::move(delivery);
  return true;
}

bool Publisher::hasDelivery(Failure& failure) const {
  return delivery_ || fail(failure, KYV_ERROR_USAGE, "the publisher has taken no delivery");
}

bool Publisher::readDelivery(std::optional<DeliveryKey>& key, Failure& failure) {
  return isConnected(failure) && hasDelivery(failure) && store_->readDelivery(delivery_->adapter, key, failure);
}

bool Publisher::setDeliveryKey(const DeliveryKey& key, Failure& failure) {
  if (!hasDelivery(failure)) return false;
  delivery_->key = key;
  return true;
}

}  // namespace kyv_internal
