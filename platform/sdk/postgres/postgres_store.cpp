// The store on a cluster of PostgreSQL servers: a primary that takes the writes, and standbys that follow it, one of
// which at least has confirmed a commit before it counts as done. The module's one exported function stands at the end.
// What lies where is in statements.h, how a publish survives the loss of its server in publish.h.

#include <algorithm>
#include <chrono>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <utility>

#include "kyv/export.h"
#include "platform/sdk/event_store.h"
#include "platform/sdk/postgres/log_blocks.h"
#include "platform/sdk/postgres/publish.h"
#include "platform/sdk/postgres/session.h"
#include "platform/sdk/postgres/statements.h"
#include "platform/sdk/refusals.h"

namespace kyv_internal {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kPauseOfAttempts{50};
// A server notices soon, but not at once, that a client has died.
constexpr std::chrono::milliseconds kDeadHolderGrace{700};

Outcome outcomeOf(bool done) { return done ? Outcome::Done : Outcome::Failed; }

// The delivery that a store holds.
struct Hold {
  std::string adapter;
  std::int64_t fence = 0;
  std::int64_t lock = 0;
};

class PostgresStore : public EventStore {
 public:
  [[nodiscard]] bool open(const ProjectAddress& project, const Settings& settings, Failure& failure);

  bool defineStream(const StreamDefinition& stream, Failure& failure) override;
  bool listStreams(std::vector<std::string>& names, Failure& failure) override;
  bool findStream(const std::string& name, StreamDefinition& stream, Failure& failure) override;
  bool publish(const StreamDefinition& stream, std::span<const PublishedRow> rows, const Delivery* delivery,
               Failure& failure) override;
  bool read(const StreamDefinition& stream, std::int64_t after, RowChunk& chunk, Failure& failure) override;
  bool waitForRows(const StreamDefinition& stream, std::int64_t after, std::int32_t milliseconds, bool& there,
                   Failure& failure) override;
  bool takeDelivery(const std::string& adapter, Take how, std::int64_t& fence, Failure& failure) override;
  bool readDelivery(const std::string& adapter, std::optional<DeliveryKey>& key, Failure& failure) override;

 private:
  // An operation in a session, again and again in new ones if need be. It gives an Outcome, and has filled the failure
  // unless that is Done.
  template <class Operation>
  bool run(Failure& failure, const Operation& operation);
  template <class Operation>
  Outcome attempt(Failure& failure, const Operation& operation);
  Outcome connect(Failure& failure);
  Outcome holdAgain(Failure& failure);

  Outcome exchange(const std::vector<Query>& queries, Answers& answers, Failure& failure) {
    return session_->connection().exchange(queries, answers, failure);
  }
  Outcome commit(const std::vector<Query>& queries, Answers& answers, Failure& failure) {
    return session_->connection().commit(queries, answers, failure);
  }

  Query find(const std::string& stream) const;
  Query lockDelivery(const std::string& adapter) const;
  Outcome define(const StreamDefinition& stream, Failure& failure);
  // The stream's number in this session.
  Outcome numberOf(const StreamDefinition& stream, std::int64_t& number, Failure& failure);
  Outcome readRows(const StreamDefinition& stream, std::int64_t after, RowChunk& chunk, Failure& failure);
  Outcome isThere(const StreamDefinition& stream, std::int64_t after, bool& there, Failure& failure);
  Outcome take(const std::string& adapter, Take how, std::int64_t fence, Hold& taken, Failure& failure);
  Outcome checkFree(const StoredDelivery& stored, const std::string& adapter, Failure& failure);

  SessionOptions options_;
  ProjectAddress project_;
  std::unique_ptr<Session> session_;
  std::size_t sessions_ = 0;  // each begins with another host, as the last may be a primary that no standby follows
  std::map<std::string, std::int64_t> streams_;  // their numbers in this session
  std::optional<Hold> hold_;
};

// --- Sessions
// ---------------------------------------------------------------------------------------------------------

bool PostgresStore::open(const ProjectAddress& project, const Settings& settings, Failure& failure) {
  if (!options_.read(settings, failure)) return false;
  project_ = project;
  return run(failure, [] { return Outcome::Done; });
}

template <class Operation>
bool PostgresStore::run(Failure& failure, const Operation& operation) {
  std::optional<Clock::time_point> until;
  for (;; std::this_thread::sleep_for(kPauseOfAttempts)) {
    const Outcome outcome = attempt(failure, operation);
    if (outcome == Outcome::Failed) return false;
    if (outcome == Outcome::Done) {
      failure = {};  // of attempts that were lost
      return true;
    }
    if (!until) until = Clock::now() + options_.wait;
    if (Clock::now() >= *until) break;
  }
  const std::string reason = failure.message;
  return fail(failure, KYV_ERROR_STORE, "the cluster was given up after %lld s: %s",
              static_cast<long long>(options_.wait / std::chrono::seconds(1)), reason.c_str());
}

// A session that memory was exhausted in may owe answers, or be in a transaction.
template <class Operation>
Outcome PostgresStore::attempt(Failure& failure, const Operation& operation) {
  try {
    Outcome outcome = session_ != nullptr ? Outcome::Done : connect(failure);
    if (outcome == Outcome::Done) outcome = operation();
    if (session_ != nullptr && outcome != Outcome::Done) session_->connection().rollBack();
    if (session_ != nullptr && session_->connection().isLost()) session_.reset();
    return outcome;
  } catch (...) {
    session_.reset();
    throw;
  }
}

Outcome PostgresStore::connect(Failure& failure) {
  streams_.clear();
  session_ = std::make_unique<Session>();
  Outcome outcome = session_->open(options_, sessions_++, project_, failure);
  if (outcome == Outcome::Done && hold_) outcome = holdAgain(failure);
  if (outcome != Outcome::Done) session_.reset();
  return outcome;
}

// --- Streams
// ----------------------------------------------------------------------------------------------------------

Query PostgresStore::find(const std::string& stream) const {
  return {&kFindStream, std::move(Parameters().number(session_->project()).bytes(stream))};
}

// Of the answer to kFindStream.
std::optional<StreamDefinition> definitionOf(const Answer& answer, const std::string& name) {
  if (answer.rows() == 0) return std::nullopt;
  StreamDefinition stream{name, static_cast<std::int32_t>(answer.number(0, 1)), {}, {}};
  std::map<std::int64_t, std::size_t> key;
  for (int row = 0; row < answer.rows() && !answer.isNull(row, 2); ++row) {
    if (!answer.isNull(row, 4)) key[answer.number(row, 4)] = stream.columns.size();
    stream.columns.push_back({std::string(answer.bytes(row, 2)), static_cast<std::uint32_t>(answer.number(row, 3))});
  }
  for (const auto& [position, column] : key) stream.key.push_back(column);
  return stream;
}

bool PostgresStore::findStream(const std::string& name, StreamDefinition& stream, Failure& failure) {
  return run(failure, [&] {
    Answers answers;
    const Outcome outcome = exchange({find(name)}, answers, failure);
    if (outcome != Outcome::Done) return outcome;
    std::optional<StreamDefinition> found = definitionOf(answers.at(0), name);
    if (!found) return outcomeOf(refuseMissingStream(name, failure));
    stream = *std::move(found);
    return Outcome::Done;
  });
}

bool PostgresStore::listStreams(std::vector<std::string>& names, Failure& failure) {
  return run(failure, [&] {
    Answers answers;
    const Query list{&kListStreams, std::move(Parameters().number(session_->project()))};
    const Outcome outcome = exchange({list}, answers, failure);
    if (outcome != Outcome::Done) return outcome;
    names.clear();
    for (int row = 0; row < answers.at(0).rows(); ++row) names.emplace_back(answers.at(0).bytes(row, 0));
    return Outcome::Done;
  });
}

bool PostgresStore::defineStream(const StreamDefinition& stream, Failure& failure) {
  return run(failure, [&] { return define(stream, failure); });
}

Query insertColumns(std::int64_t number, const StreamDefinition& stream) {
  ArrayParameter names(ArrayParameter::Of::Bytes);
  ArrayParameter types(ArrayParameter::Of::Numbers);
  ArrayParameter places(ArrayParameter::Of::Numbers);
  for (std::size_t i = 0; i < stream.columns.size(); ++i) {
    const auto place = std::find(stream.key.begin(), stream.key.end(), i);
    names.addBytes(stream.columns[i].name);
    types.addNumber(stream.columns[i].type);
    places.addNumber(place == stream.key.end() ? -1 : place - stream.key.begin());
  }
  return {&kInsertColumns, std::move(Parameters().number(number).array(names).array(types).array(places))};
}

// A stream that is there is only looked at: publishes that are under way keep nobody waiting then. Of those who define
// a new one at once, one inserts it, and the others find it then.
Outcome PostgresStore::define(const StreamDefinition& stream, Failure& failure) {
  Answers answers;
  Outcome outcome = exchange({find(stream.name)}, answers, failure);
  if (outcome != Outcome::Done) return outcome;
  if (const auto found = definitionOf(answers.at(0), stream.name)) {
    return outcomeOf(*found == stream || refuseOtherDefinition(stream.name, failure));
  }
  const Query insert{&kInsertStream,
                     std::move(Parameters().number(session_->project()).bytes(stream.name).number(stream.id))};
  outcome = exchange({{&kBegin}, insert}, answers, failure);
  if (outcome != Outcome::Done) return outcome;
  if (answers.at(1).rows() == 0) {
    session_->connection().rollBack();
    return define(stream, failure);
  }
  const Query columns = insertColumns(answers.at(1).number(0, 0), stream);
  return commit({columns, {&kCommit}}, answers, failure);
}

Outcome PostgresStore::numberOf(const StreamDefinition& stream, std::int64_t& number, Failure& failure) {
  const auto known = streams_.find(stream.name);
  if (known != streams_.end()) {
    number = known->second;
    return Outcome::Done;
  }
  Answers answers;
  const Outcome outcome = exchange({find(stream.name)}, answers, failure);
  if (outcome != Outcome::Done) return outcome;
  if (definitionOf(answers.at(0), stream.name) != stream) return outcomeOf(refuseChangedStream(stream.name, failure));
  number = streams_[stream.name] = answers.at(0).number(0, 0);
  return Outcome::Done;
}

// --- Rows
// -------------------------------------------------------------------------------------------------------------

bool checkSizes(std::span<const PublishedRow> rows, Failure& failure) {
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const std::size_t size = rows[i].key.size() + rows[i].record.size();
    if (size <= kTooLarge) continue;
    return fail(failure, KYV_ERROR_REFUSED, "row %zu of %zu: a cluster takes no row of %zu bytes", i + 1, rows.size(),
                size);
  }
  return true;
}

bool PostgresStore::publish(const StreamDefinition& stream, std::span<const PublishedRow> rows,
                            const Delivery* delivery, Failure& failure) {
  if (!checkSizes(rows, failure)) return false;
  Publish publish(stream, rows, delivery, options_.fullSync);
  return run(failure, [&] {
    std::int64_t number = 0;
    const Outcome outcome = numberOf(stream, number, failure);
    return outcome == Outcome::Done ? publish.attempt(*session_, number, failure) : outcome;
  });
}

bool PostgresStore::read(const StreamDefinition& stream, std::int64_t after, RowChunk& chunk, Failure& failure) {
  return run(failure, [&] { return readRows(stream, after, chunk, failure); });
}

Outcome PostgresStore::readRows(const StreamDefinition& stream, std::int64_t after, RowChunk& chunk, Failure& failure) {
  chunk.bytes.clear();
  chunk.rows.clear();
  std::int64_t number = 0;
  Outcome outcome = numberOf(stream, number, failure);
  if (outcome != Outcome::Done) return outcome;
  const Statement& statement = stream.isTable() ? kReadEntries : kReadBlocks;
  Answers answers;
  outcome = exchange({{&statement, std::move(Parameters().number(number).number(after))}}, answers, failure);
  if (outcome != Outcome::Done) return outcome;
  const Answer& found = answers.at(0);
  for (int row = 0; row < found.rows(); ++row) {
    const std::string_view bytes = found.bytes(row, 1);
    if (stream.isTable()) {
      chunk.rows.push_back({found.number(row, 0), chunk.bytes.size(), bytes.size()});
      chunk.bytes.append(bytes);
    } else if (!unpackBlock(bytes, found.number(row, 0), after, chunk)) {
      fail(failure, KYV_ERROR_STORE, "the rows of stream '%s' up to %lld are damaged", stream.name.c_str(),
           static_cast<long long>(found.number(row, 0)));
      return Outcome::Failed;
    }
  }
  return Outcome::Done;
}

bool PostgresStore::waitForRows(const StreamDefinition& stream, std::int64_t after, std::int32_t milliseconds,
                                bool& there, Failure& failure) {
  constexpr std::chrono::nanoseconds kFirstPause = std::chrono::milliseconds(1);
  constexpr std::chrono::nanoseconds kLongestPause = std::chrono::milliseconds(50);
  const auto until = Clock::now() + std::chrono::milliseconds(milliseconds);
  for (auto pause = kFirstPause;; pause = std::min(2 * pause, kLongestPause)) {
    if (!run(failure, [&] { return isThere(stream, after, there, failure); })) return false;
    const std::chrono::nanoseconds left = until - Clock::now();
    if (there || left.count() <= 0) return true;
    std::this_thread::sleep_for(std::min(pause, left));
  }
}

Outcome PostgresStore::isThere(const StreamDefinition& stream, std::int64_t after, bool& there, Failure& failure) {
  std::int64_t number = 0;
  Outcome outcome = numberOf(stream, number, failure);
  if (outcome != Outcome::Done) return outcome;
  const Statement& statement = stream.isTable() ? kHasEntries : kHasBlocks;
  Answers answers;
  outcome = exchange({{&statement, std::move(Parameters().number(number).number(after))}}, answers, failure);
  there = outcome == Outcome::Done && answers.at(0).flag(0, 0);
  return outcome;
}

// --- Deliveries
// -------------------------------------------------------------------------------------------------------

// Locks of a session are known by one number for the whole database: a random one meets no other.
std::int64_t newLock() {
  std::random_device device;
  return static_cast<std::int64_t>(std::uint64_t{device()} << 32 | device());
}

Query PostgresStore::lockDelivery(const std::string& adapter) const {
  return {&kLockDelivery, std::move(Parameters().number(session_->project()).bytes(adapter))};
}

Query onLock(const Statement& statement, std::int64_t lock) {
  return {&statement, std::move(Parameters().number(lock))};
}

Query setHolder(std::int64_t number, const Hold& hold) {
  return {&kTakeDelivery, std::move(Parameters().number(number).number(hold.fence).number(hold.lock))};
}

bool PostgresStore::takeDelivery(const std::string& adapter, Take how, std::int64_t& fence, Failure& failure) {
  Hold taken{adapter, 0, 0};
  const auto until = Clock::now() + kDeadHolderGrace;
  while (!run(failure, [&] { return take(adapter, how, fence, taken, failure); })) {
    if (failure.code != KYV_ERROR_HELD || Clock::now() > until) return false;
    std::this_thread::sleep_for(kPauseOfAttempts);
  }
  Answers answers;
  Failure ignored;  // nobody asks for a lock that no delivery names
  if (hold_) (void)exchange({onLock(kUnlockHolder, hold_->lock)}, answers, ignored);
  hold_ = taken;
  fence = taken.fence;
  return true;
}

// The lock that the stored delivery names says whether its holder lives. A new holder has a new one, so that a session
// that hangs is in nobody's way once its delivery was taken. `taken` is what an earlier attempt wanted, whose commit
// may have been done.
Outcome PostgresStore::take(const std::string& adapter, Take how, std::int64_t fence, Hold& taken, Failure& failure) {
  Answers answers;
  const Query insert{&kInsertDelivery, std::move(Parameters().number(session_->project()).bytes(adapter))};
  Outcome outcome = exchange({{&kBegin}, insert, lockDelivery(adapter)}, answers, failure);
  if (outcome != Outcome::Done) return outcome;
  const std::optional<StoredDelivery> stored = storedDelivery(answers.at(2));
  if (!stored) return outcomeOf(refuseHeldDelivery(adapter, failure));
  const bool isMine = taken.fence != 0 && stored->holder == taken.lock;
  const bool isStillMine = how == Take::IfStillMine && stored->fence == fence;
  if (!isMine && how == Take::IfStillMine && !isStillMine) return outcomeOf(refuseReplacedDelivery(adapter, failure));
  if (!isMine && how == Take::IfFree) outcome = checkFree(*stored, adapter, failure);
  if (outcome != Outcome::Done) return outcome;
  taken = {adapter, stored->fence + 1, newLock()};
  return commit({onLock(kLockHolder, taken.lock), setHolder(stored->number, taken), {&kCommit}}, answers, failure);
}

Outcome PostgresStore::checkFree(const StoredDelivery& stored, const std::string& adapter, Failure& failure) {
  if (stored.holder == 0) return Outcome::Done;
  Answers answers;
  const Outcome outcome = exchange({onLock(kIsHeld, stored.holder)}, answers, failure);
  if (outcome != Outcome::Done) return outcome;
  return outcomeOf(!answers.at(0).flag(0, 0) || refuseHeldDelivery(adapter, failure));
}

// In a new session, unless somebody has taken the delivery: publishing will say so. The lost session may live on for a
// while in the server, and its lock with it, hence another one.
Outcome PostgresStore::holdAgain(Failure& failure) {
  Answers answers;
  const Outcome outcome = exchange({{&kBegin}, lockDelivery(hold_->adapter)}, answers, failure);
  if (outcome != Outcome::Done) return outcome;
  const std::optional<StoredDelivery> stored = storedDelivery(answers.at(1));
  if (!stored || stored->fence != hold_->fence) {
    session_->connection().rollBack();
    hold_.reset();
    return Outcome::Done;
  }
  hold_->lock = newLock();
  return commit({onLock(kLockHolder, hold_->lock), setHolder(stored->number, *hold_), {&kCommit}}, answers, failure);
}

bool PostgresStore::readDelivery(const std::string& adapter, std::optional<DeliveryKey>& key, Failure& failure) {
  return run(failure, [&] {
    Answers answers;
    const Outcome outcome = commit({{&kBegin}, lockDelivery(adapter), {&kCommit}}, answers, failure);
    if (outcome != Outcome::Done) return outcome;
    const std::optional<StoredDelivery> stored = storedDelivery(answers.at(1));
    key = stored ? stored->key : std::nullopt;
    return Outcome::Done;
  });
}

}  // namespace

extern "C" KYV_EXPORT EventStore* kyv_open_event_store_2(const ProjectAddress& project, const Settings& settings,
                                                         Failure& failure) {
  auto store = std::make_unique<PostgresStore>();
  return store->open(project, settings, failure) ? store.release() : nullptr;
}

}  // namespace kyv_internal
