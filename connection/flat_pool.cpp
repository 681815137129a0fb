// The flat functions over pools and transactions: each reads its handle and calls the object.

#include <algorithm>
#include <climits>
#include <memory>

#include "connection/row_handle.h"
#include "kyv/connection_row_pool.h"
#include "kyv/connection_trans.h"
#include "kyv/flat.h"
#include "kyv/mutexes.h"
#include "services/handle_cell.h"

using kyv_internal::guarded;

struct ConnectionRowPoolHandle {
  ConnectionRowPool* object;
};

struct ConnectionRawTransHandle {
  ConnectionRawTrans* object;
};

namespace {

// A handle for what `give` returns, which is made before, so that nothing is lost when memory is exhausted.
template <class Give>
ConnectionRowHandle* handleOf(Give give) {
  return guarded<ConnectionRowHandle*>(nullptr, [&] {
    auto cell = std::make_unique<ConnectionRowHandle>();
    cell->object = give();
    return cell.release();
  });
}

}  // namespace

ConnectionRowPoolHandle* createConnectionRowPool() {
  return kyv_internal::makeCell<ConnectionRowPoolHandle>(_connectionrowpoolobjectMutex,
                                                         [] { return std::make_unique<ConnectionRowPool>(); });
}

void deleteConnectionRowPool(ConnectionRowPoolHandle* pool) { kyv_internal::deleteCell(pool); }

void setPrototype(ConnectionRowPoolHandle* pool, ConnectionRowHandle* prototype) {
  guarded([&] { pool->object->setPrototype(prototype->object); });
  delete prototype;
}

ConnectionRowHandle* alloc(ConnectionRowPoolHandle* pool) {
  return handleOf([&] { return pool->object->alloc(); });
}

void freeConnectionRow(ConnectionRowPoolHandle* pool, ConnectionRowHandle* row) {
  if (row == nullptr) return;
  guarded([&] { pool->object->free(row->object); });
  delete row;
}

bool validateConnectionRow(ConnectionRowPoolHandle* pool, ConnectionRowHandle* row) {
  return pool->object->validate(row->object);
}

bool allocTrans(ConnectionRowPoolHandle* pool, ConnectionTrans* trans, int count) {
  return guarded(false, [&] { return pool->object->allocTrans(trans, count); });
}

void freeTrans(ConnectionRowPoolHandle* pool, ConnectionTrans* trans) {
  guarded([&] { pool->object->freeTrans(trans); });
}

ConnectionTrans* createConnectionTrans() {
  return guarded<ConnectionTrans*>(nullptr, [] { return std::make_unique<ConnectionTrans>().release(); });
}

int getConnectionTransSize(ConnectionTrans* trans) {
  return static_cast<int>(std::min<std::size_t>(trans->size(), INT_MAX));
}

ConnectionRowHandle* getConnectionTrans(ConnectionTrans* trans, int index) {
  const auto position = static_cast<std::size_t>(index);  // of a negative index beyond all
  if (position >= trans->size()) return nullptr;
  return handleOf([&] { return (*trans)[position]; });
}

void deleteConnectionTrans(ConnectionTrans* trans) {
  if (trans == nullptr) return;
  for (ConnectionRow* const row : *trans) delete row;
  delete trans;
}

ConnectionRawTransHandle* createConnectionRawTrans() {
  return kyv_internal::makeCell<ConnectionRawTransHandle>(_connectionrawtransobjectMutex,
                                                          [] { return std::make_unique<ConnectionRawTrans>(); });
}

void deleteConnectionRawTrans(ConnectionRawTransHandle* trans) { kyv_internal::deleteCell(trans); }

void pushBackConnectionRawTrans(ConnectionRawTransHandle* trans, void* record) {
  guarded([&] { trans->object->pushBack(record); });
}

int getConnectionRawTransSize(ConnectionRawTransHandle* trans) { return trans->object->size(); }

void* getConnectionRawTrans(ConnectionRawTransHandle* trans, int index) { return trans->object->get(index); }

void clearConnectionRawTrans(ConnectionRawTransHandle* trans) { trans->object->clear(); }
