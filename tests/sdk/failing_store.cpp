// A store for tests: the embedded one, of which one operation fails, or all from one on. KYV_STORE=failing chooses it,
// where KYV_STORE_MODULES names the folder of the build tree's stores, and KYV_STORE_FAIL says what fails:
//
//   NUMBER HOW WHEN [WORD]
//
// NUMBER counts the operations of all stores of the process, openings included, from 1. HOW is "failed": it is not
// done; "applied": it is done, and says that it timed out; "disconnected": it is not done, nor is any other of the same
// store. WHEN is "once", or "ever" for all from there on. The count begins anew when the variable changes, be it the
// word.

#include <cstdlib>
#include <memory>
#include <mutex>
#include <sstream>
#include <string>
#include <utility>

#include "kyv/export.h"
#include "platform/sdk/store_module.h"

namespace kyv_internal {

namespace {

enum class Outcome { Done, Failed, Applied, Disconnected };

// What the next operation comes to.
class FaultPlan {
 public:
  Outcome next(const std::string& text) {
    const std::lock_guard lock(mutex_);
    if (text != text_) begin(text);
    ++count_;
    return count_ == number_ || (ever_ && number_ != 0 && count_ > number_) ? outcome_ : Outcome::Done;
  }

 private:
  void begin(const std::string& text) {
    text_ = text;
    count_ = 0;
    number_ = 0;
    std::string how;
    std::string when;
    std::istringstream(text) >> number_ >> how >> when;
    outcome_ = how == "applied" ? Outcome::Applied : how == "disconnected" ? Outcome::Disconnected : Outcome::Failed;
    ever_ = when == "ever";
  }

  std::mutex mutex_;
  std::string text_;
  long count_ = 0;
  long number_ = 0;  // none: 0
  Outcome outcome_ = Outcome::Done;
  bool ever_ = false;
};

Outcome nextOutcome() {
  static FaultPlan plan;
  return plan.next(fromEnvironment("KYV_STORE_FAIL"));
}

class FailingStore : public EventStore {
 public:
  explicit FailingStore(std::unique_ptr<EventStore> store) : store_(std::move(store)) {}

  bool defineStream(const StreamDefinition& stream, Failure& failure) override {
    return perform(failure, [&] { return store_->defineStream(stream, failure); });
  }
  bool listStreams(std::vector<std::string>& names, Failure& failure) override {
    return perform(failure, [&] { return store_->listStreams(names, failure); });
  }
  bool findStream(const std::string& name, StreamDefinition& stream, Failure& failure) override {
    return perform(failure, [&] { return store_->findStream(name, stream, failure); });
  }
  bool publish(const StreamDefinition& stream, std::span<const PublishedRow> rows, const Delivery* delivery,
               Failure& failure) override {
    return perform(failure, [&] { return store_->publish(stream, rows, delivery, failure); });
  }
  bool read(const StreamDefinition& stream, std::int64_t after, RowChunk& chunk, Failure& failure) override {
    return perform(failure, [&] { return store_->read(stream, after, chunk, failure); });
  }
  bool waitForRows(const StreamDefinition& stream, std::int64_t after, std::int32_t milliseconds, bool& there,
                   Failure& failure) override {
    return perform(failure, [&] { return store_->waitForRows(stream, after, milliseconds, there, failure); });
  }
  bool takeDelivery(const std::string& adapter, Take how, std::int64_t& fence, Failure& failure) override {
    std::int64_t given = fence;
    const bool done = perform(failure, [&] { return store_->takeDelivery(adapter, how, given, failure); });
    if (done) fence = given;
    return done;
  }
  bool readDelivery(const std::string& adapter, std::optional<DeliveryKey>& key, Failure& failure) override {
    return perform(failure, [&] { return store_->readDelivery(adapter, key, failure); });
  }

 private:
  template <class Operation>
  bool perform(Failure& failure, Operation operation) {
    const Outcome outcome = connected_ ? nextOutcome() : Outcome::Disconnected;
    if (outcome == Outcome::Done) return operation();
    if (outcome == Outcome::Disconnected) connected_ = false;
    if (outcome == Outcome::Applied && !operation()) return false;
    return fail(failure, KYV_ERROR_STORE, "%s",
                outcome == Outcome::Applied        ? "the store did not answer in time"
                : outcome == Outcome::Disconnected ? "the connection to the store was lost"
                                                   : "the store failed");
  }

  std::unique_ptr<EventStore> store_;
  bool connected_ = true;
};

}  // namespace

extern "C" KYV_EXPORT EventStore* kyv_open_event_store_2(const ProjectAddress& project, const Settings& settings,
                                                         Failure& failure) {
  const Outcome outcome = nextOutcome();
  const OpenStore open = findStoreModule("sqlite", settings, failure);
  std::unique_ptr<EventStore> store;
  if (open != nullptr && (outcome == Outcome::Done || outcome == Outcome::Applied)) {
    store.reset(open(project, settings, failure));
  }
  if (outcome == Outcome::Done) return store != nullptr ? new FailingStore(std::move(store)) : nullptr;
  fail(failure, KYV_ERROR_STORE, "the store cannot be reached");
  return nullptr;
}

}  // namespace kyv_internal
