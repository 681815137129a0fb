// Guaranteed delivery: who may publish for an adapter, and how far it came.

#include <limits>

#include "platform/sdk/refusals.h"
#include "platform/sdk/sqlite/sqlite_store.h"

namespace kyv_internal {

// In one transaction, so that of several takers the later ones see the fence, and the hold, of the first. The hold of a
// fence that in the end was not stored is let go.
bool SqliteStore::takeDelivery(const std::string& adapter, Take how, std::int64_t& fence, Failure& failure) {
  if (!locks_.open(file_.path(), failure)) return false;
  Transaction transaction(file_);
  TakenDelivery delivery;
  DeliveryHold hold;
  if (!transaction.beginWrite(failure) || !findDelivery(adapter, delivery, failure) ||
      !mayTake(delivery, adapter, how, fence, failure)) {
    return false;
  }
  ++delivery.fence;
  if (!setFence(delivery, failure) || !locks_.hold(delivery.adapter, delivery.fence, hold, failure) ||
      !transaction.commit(failure)) {
    return false;
  }
  hold_ = std::move(hold);
  fence = delivery.fence;
  return true;
}

// The adapter's number and last fence; makes its row when it has none.
bool SqliteStore::findDelivery(const std::string& adapter, TakenDelivery& delivery, Failure& failure) {
  Statement insert;
  Statement select;
  constexpr const char* kInsert =
      "INSERT INTO delivery (adapter, fence) VALUES (?1, 0) ON CONFLICT (adapter) DO NOTHING";
  if (!prepare(insert, kInsert, failure) ||
      !prepare(select, "SELECT number, fence FROM delivery WHERE adapter = ?1", failure)) {
    return false;
  }
  if (!Run(insert).bindText(1, adapter).finish()) return file_.fails(failure);
  Run row(select);
  if (row.bindText(1, adapter).step() != Step::Row) return file_.fails(failure);
  delivery = {row.number(0), row.number(1)};
  constexpr std::int64_t kMostAdapters = std::numeric_limits<std::int32_t>::max();
  const bool sound = delivery.adapter > 0 && delivery.adapter <= kMostAdapters && delivery.fence >= 0 &&
                     delivery.fence < std::numeric_limits<std::int64_t>::max();
  return sound || file_.isDamaged(failure);
}

bool SqliteStore::mayTake(const TakenDelivery& stored, const std::string& adapter, Take how, std::int64_t fence,
                          Failure& failure) {
  bool held = false;
  switch (how) {
    case Take::IfFree:
      if (!locks_.isHeldByOther(stored.adapter, stored.fence, held, failure)) return false;
      return !held || refuseHeldDelivery(adapter, failure);
    case Take::IfStillMine:
      return stored.fence == fence || refuseReplacedDelivery(adapter, failure);
    case Take::Anyway:
      break;
  }
  return true;
}

bool SqliteStore::setFence(const TakenDelivery& delivery, Failure& failure) {
  Statement update;
  return prepare(update, "UPDATE delivery SET fence = ?2 WHERE number = ?1", failure) &&
         (Run(update).bind(1, delivery.adapter).bind(2, delivery.fence).finish() || file_.fails(failure));
}

bool SqliteStore::checkFence(const Delivery& delivery, Failure& failure) {
  if (!prepare(fence_, "SELECT fence FROM delivery WHERE adapter = ?1", failure)) return false;
  Run row(fence_);
  const Step found = row.bindText(1, delivery.adapter).step();
  if (found == Step::Failed) return file_.fails(failure);
  return (found == Step::Row && row.number(0) == delivery.fence) || refuseReplacedDelivery(delivery.adapter, failure);
}

bool SqliteStore::storeKey(const Delivery& delivery, Failure& failure) {
  if (!prepare(storeKey_, "UPDATE delivery SET key = ?2, rows_done = ?3 WHERE adapter = ?1", failure)) return false;
  Run update(storeKey_);
  update.bindText(1, delivery.adapter).bind(2, delivery.key->key).bind(3, delivery.key->rowsDone);
  return update.finish() || file_.fails(failure);
}

bool SqliteStore::readDelivery(const std::string& adapter, std::optional<DeliveryKey>& key, Failure& failure) {
  key.reset();
  Transaction oneMoment(file_);
  Statement select;
  if (!oneMoment.beginRead(failure) ||
      !prepare(select, "SELECT key, rows_done FROM delivery WHERE adapter = ?1 AND key IS NOT NULL", failure)) {
    return false;
  }
  Run row(select);
  const Step found = row.bindText(1, adapter).step();
  if (found == Step::Row) key = {row.number(0), row.number(1)};
  return found != Step::Failed || file_.fails(failure);
}

}  // namespace kyv_internal
