#include "kyv/connection_row_pool.h"

#include <utility>

#include "services/mutex_guard.h"

using kyv_internal::MutexGuard;

ConnectionRowPool::ConnectionRowPool() { pthread_mutex_init(&mutex_, nullptr); }

ConnectionRowPool::~ConnectionRowPool() {
  prototype_.reset();
  deleteFreeRows();
  pthread_mutex_destroy(&mutex_);
}

void ConnectionRowPool::deleteFreeRows() {
  while (freeRows_ != nullptr) delete std::exchange(freeRows_, freeRows_->poolNext);
}

void ConnectionRowPool::setPrototype(ConnectionRow* prototype) {
  const MutexGuard lock(mutex_);
  if (prototype == prototype_.get()) return;
  std::unique_ptr<ConnectionRow> taken(prototype);
  auto generation = std::make_shared<const char>();
  prototype_ = std::move(taken);
  generation_ = std::move(generation);
  deleteFreeRows();
}

bool ConnectionRowPool::isCurrent(const ConnectionRow& row) const {
  return row.poolTag_ != nullptr && row.poolTag_ == prototype_.get() && row.poolGeneration_ == generation_;
}

ConnectionRow* ConnectionRowPool::makeRow() {
  ConnectionRow* const row = prototype_ != nullptr ? prototype_->createNew() : nullptr;
  if (row == nullptr) return nullptr;
  row->poolTag_ = prototype_.get();
  row->poolGeneration_ = generation_;
  return row;
}

ConnectionRow* ConnectionRowPool::alloc() {
  ConnectionRow* row;
  {
    const MutexGuard lock(mutex_);
    row = freeRows_;
    if (row == nullptr) return makeRow();
    freeRows_ = row->poolNext;
  }
  row->poolNext = nullptr;
  return row;
}

void ConnectionRowPool::free(ConnectionRow* row) {
  if (row == nullptr) return;
  row->clearData();
  {
    const MutexGuard lock(mutex_);
    if (isCurrent(*row)) {
      row->poolNext = std::exchange(freeRows_, row);
      return;
    }
  }
  delete row;
}

bool ConnectionRowPool::allocTrans(ConnectionTrans* trans, int count) {
  // Required as is: rows that are still there are deleted, not taken back.
  for (ConnectionRow* const row : *trans) delete row;
  trans->clear();
  if (count > 0) trans->reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    ConnectionRow* const row = alloc();
    if (row == nullptr) return false;
    trans->push_back(row);
  }
  return true;
}

void ConnectionRowPool::freeTrans(ConnectionTrans* trans) {
  for (ConnectionRow* const row : *trans) free(row);
  trans->clear();
}

bool ConnectionRowPool::validate(const ConnectionRow* row) {
  if (row == nullptr) return false;
  const MutexGuard lock(mutex_);
  return isCurrent(*row);
}
