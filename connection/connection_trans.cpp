#include "kyv/connection_trans.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <utility>

ConnectionRawTrans::ConnectionRawTrans() = default;
ConnectionRawTrans::~ConnectionRawTrans() = default;

void ConnectionRawTrans::pushBack(void* record) {
  std::unique_ptr<void, FreeRecord> owner(record);
  records_.push_back(std::move(owner));
}

int ConnectionRawTrans::size() const { return static_cast<int>(std::min<std::size_t>(records_.size(), INT_MAX)); }

void* ConnectionRawTrans::get(int index) const {
  const auto position = static_cast<std::size_t>(index);  // of a negative index beyond all
  return position < records_.size() ? records_[position].get() : nullptr;
}

void ConnectionRawTrans::clear() { records_.clear(); }
