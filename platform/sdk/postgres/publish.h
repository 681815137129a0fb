#pragma once

// One publish, which may take several sessions until it is done.
//
// It is two exchanges. The first locks the rows of the delivery and of the stream, and looks; nothing is changed by
// then, so after a failure it is simply done again. The second puts the rows and the key and commits. When its answer
// is lost, the locks are what makes the question decidable: the next session asks for the same lock, and so waits until
// the old one's transaction is done or dropped, whatever was under way in the network. How many publishes have stored a
// key then tells which.

#include <cstdint>
#include <optional>
#include <span>

#include "platform/sdk/event_store.h"
#include "platform/sdk/postgres/session.h"
#include "platform/sdk/postgres/table_changes.h"

namespace kyv_internal {

// What is stored of an adapter's delivery.
struct StoredDelivery {
  std::int64_t number = 0;
  std::int64_t fence = 0;
  std::int64_t holder = 0;  // the lock that its holder's session has
  std::int64_t publishes = 0;
  std::optional<DeliveryKey> key;
};

// Of the answer to kLockDelivery; nothing when the adapter is unknown.
std::optional<StoredDelivery> storedDelivery(const Answer& answer);

class Publish {
 public:
  // All that is given must outlive it. `delivery` may be null.
  Publish(const StreamDefinition& stream, std::span<const PublishedRow> rows, const Delivery* delivery, bool fullSync)
      : stream_(stream), rows_(rows), delivery_(delivery), fullSync_(fullSync) {}

  // Does it, or finds that it is done. After Again and Lost it is called again, with a new session after Lost. `number`
  // is the stream's, in this session.
  [[nodiscard]] Outcome attempt(Session& session, std::int64_t number, Failure& failure);

 private:
  bool hasKey() const { return delivery_ != nullptr && delivery_->key; }
  // Done, and `isDone_` tells, when the last commit's fate is known.
  Outcome settle(Session& session, Failure& failure);
  Outcome lockAndLook(Session& session, Failure& failure);
  bool checkDelivery(const Answer& answer, Failure& failure);
  bool checkStream(const Answer& answer, Failure& failure);
  Outcome preparePieces(TableChanges& changes, Failure& failure);
  Outcome putAndCommit(Session& session, Failure& failure);

  const StreamDefinition& stream_;
  const std::span<const PublishedRow> rows_;
  const Delivery* const delivery_;
  const bool fullSync_;

  std::int64_t number_ = 0;  // the stream's
  std::int64_t lastRow_ = 0;
  std::optional<StoredDelivery> stored_;  // as it was when the commit was sent
  std::vector<Parameters> pieces_;
  bool isSent_ = false;
  bool isDone_ = false;
};

}  // namespace kyv_internal
