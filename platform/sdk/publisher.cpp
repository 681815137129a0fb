#include "platform/sdk/publisher.h"

#include "platform/sdk/store_module.h"
#include "platform/sdk/stream_record.h"

namespace kyv_internal {

bool MessageWriter::addRecord(std::string_view record, Failure& failure) {
  const std::optional<StreamRecord> checked = StreamRecord::check(*stream_, record, failure);
  if (!checked) return false;
  const std::size_t keysBefore = keys_.size();
  if (!checked->appendKey(keys_, failure)) {
    keys_.resize(keysBefore);
    return false;
  }
  records_.append(record);
  parts_.push_back({checked->change(), keys_.size(), records_.size()});
  return true;
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
  if (store_ == nullptr) store_ = openStore(*address_, failure);
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
  const bool done = store_->publish(writer.stream(), writer.rows(), delivery_ ? &*delivery_ : nullptr, failure);
  writer.clear();
  if (delivery_) delivery_->key.reset();
  return done;
}

bool Publisher::takeDelivery(const std::string& adapter, Failure& failure) {
  return take(adapter, fences_.contains(adapter) ? Take::IfStillMine : Take::IfFree, failure);
}

bool Publisher::takeOverDelivery(const std::string& adapter, Failure& failure) {
  return take(adapter, Take::Anyway, failure);
}

bool Publisher::take(const std::string& adapter, Take how, Failure& failure) {
  if (!isConnected(failure)) return false;
  if (adapter.empty()) return fail(failure, KYV_ERROR_USAGE, "an adapter needs a name");
  Delivery delivery;
  delivery.adapter = adapter;
  if (const auto known = fences_.find(adapter); known != fences_.end()) delivery.fence = known->second;
  if (!store_->takeDelivery(adapter, how, delivery.fence, failure)) return false;
  fences_[adapter] = delivery.fence;
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
