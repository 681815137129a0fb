#include "platform/sdk/postgres/publish.h"

#include "platform/sdk/postgres/log_blocks.h"
#include "platform/sdk/postgres/statements.h"
#include "platform/sdk/refusals.h"

namespace kyv_internal {

std::optional<StoredDelivery> storedDelivery(const Answer& answer) {
  if (answer.rows() == 0) return std::nullopt;
  StoredDelivery stored{answer.number(0, 0), answer.number(0, 1), answer.number(0, 2), answer.number(0, 3), {}};
  if (!answer.isNull(0, 4)) stored.key = {answer.number(0, 4), answer.number(0, 5)};
  return stored;
}

Outcome Publish::attempt(Session& session, std::int64_t number, Failure& failure) {
  number_ = number;
  if (isSent_) {
    const Outcome settled = settle(session, failure);
    if (settled != Outcome::Done || isDone_) return settled;
  }
  const Outcome looked = lockAndLook(session, failure);
  return looked == Outcome::Done ? putAndCommit(session, failure) : looked;
}

// Rows are sent again only when it is certain that they are not there and never will be.
Outcome Publish::settle(Session& session, Failure& failure) {
  const Query lock{&kLockDelivery, std::move(Parameters().number(session.project()).bytes(delivery_->adapter))};
  Answers answers;
  const Outcome outcome = session.connection().commit({{&kBegin}, lock, {&kCommit}}, answers, failure);
  if (outcome != Outcome::Done) return outcome;
  const std::optional<StoredDelivery> now = storedDelivery(answers.at(1));
  if (!now || now->fence != delivery_->fence) {
    fail(
        failure, KYV_ERROR_STORE,
        "the connection was lost in a commit, and another publisher has taken over the delivery of adapter '%s' since: "
        "whether the rows are stored is not known",
        delivery_->adapter.c_str());
    return Outcome::Failed;
  }
  isSent_ = false;
  isDone_ = now->publishes != stored_->publishes;
  return Outcome::Done;
}

Outcome Publish::lockAndLook(Session& session, Failure& failure) {
  TableChanges changes(stream_.isTable() ? rows_ : std::span<const PublishedRow>());
  std::vector<Query> queries = {{&kBegin}};
  if (delivery_ != nullptr) {
    queries.push_back({&kLockDelivery, std::move(Parameters().number(session.project()).bytes(delivery_->adapter))});
  }
  const std::size_t streamAt = queries.size();
  queries.push_back({&kLockStream, std::move(Parameters().number(number_))});
  if (changes.hasQuestions()) {
    ArrayParameter keys = changes.questions();
    queries.push_back({&kLookForKeys, std::move(Parameters().number(number_).array(keys))});
  }
  Answers answers;
  const Outcome outcome = session.connection().exchange(queries, answers, failure);
  if (outcome != Outcome::Done) return outcome;
  if (delivery_ != nullptr && !checkDelivery(answers.at(1), failure)) return Outcome::Failed;
  if (!checkStream(answers.at(streamAt), failure)) return Outcome::Failed;
  if (changes.hasQuestions()) {
    const Answer& found = answers.at(streamAt + 1);
    for (int row = 0; row < found.rows(); ++row) changes.setThere(static_cast<std::size_t>(found.number(row, 0) - 1));
  }
  return preparePieces(changes, failure);
}

bool Publish::checkDelivery(const Answer& answer, Failure& failure) {
  stored_ = storedDelivery(answer);
  return (stored_ && stored_->fence == delivery_->fence) || refuseReplacedDelivery(delivery_->adapter, failure);
}

bool Publish::checkStream(const Answer& answer, Failure& failure) {
  if (answer.rows() == 0) return refuseChangedStream(stream_.name, failure);
  lastRow_ = answer.number(0, 0);
  return !fullSync_ || answer.flag(0, 1) || refuseAsynchronous(failure);
}

Outcome Publish::preparePieces(TableChanges& changes, Failure& failure) {
  pieces_.clear();
  if (rows_.empty()) return Outcome::Done;
  if (stream_.isTable()) {
    if (!changes.resolve(stream_.name, lastRow_, failure)) return Outcome::Failed;
    pieces_ = changes.pieces(number_);
    return Outcome::Done;
  }
  pieces_ = packBlocks(number_, lastRow_, rows_);
  lastRow_ += static_cast<std::int64_t>(rows_.size());
  return Outcome::Done;
}

Outcome Publish::putAndCommit(Session& session, Failure& failure) {
  std::vector<Query> queries;
  for (Parameters& piece : pieces_) {
    queries.push_back({stream_.isTable() ? &kPutEntries : &kPutBlocks, std::move(piece)});
  }
  if (!rows_.empty()) queries.push_back({&kSetLastRow, std::move(Parameters().number(number_).number(lastRow_))});
  if (hasKey()) {
    queries.push_back(
        {&kStoreKey,
         std::move(Parameters().number(stored_->number).number(delivery_->key->key).number(delivery_->key->rowsDone))});
  }
  queries.push_back({&kCommit});
  Answers answers;
  const Outcome outcome = session.connection().commit(queries, answers, failure);
  isSent_ = outcome == Outcome::Lost;
  if (!isSent_ || hasKey()) return outcome;
  const std::string reason = failure.message;
  fail(failure, KYV_ERROR_STORE, "whether the rows are stored is not known: %s", reason.c_str());
  return Outcome::Failed;
}

}  // namespace kyv_internal
