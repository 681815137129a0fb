#include "load_publisher.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "interrupt.h"
#include "load_messages.h"

namespace kyv_internal {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kFirstPause{50};
constexpr std::chrono::milliseconds kLongestPause{5'000};
constexpr std::chrono::milliseconds kInterruptsAsked{50};

// False when the wait was interrupted.
bool pauseUntil(Clock::time_point end) {
  while (!interrupted()) {
    const Clock::time_point now = Clock::now();
    if (now >= end) return true;
    std::this_thread::sleep_for(std::min<Clock::duration>(end - now, kInterruptsAsked));
  }
  return false;
}

std::string textOf(const std::optional<LoadPosition>& position) { return position ? position->text() : "-"; }

}  // namespace

RunFault connectFault(const StoreFailure& failure, const std::string& project) {
  if (failure.code == KYV_ERROR_REFUSED) return {failure.message, ExitStatus::kServer};  // a definition
  const bool isUsage = failure.code == KYV_ERROR_USAGE;  // an address, or a setting, that cannot be
  return {userMessage("connectionFailed", {project, failure.message}),
          isUsage ? ExitStatus::kUsage : ExitStatus::kServer};
}

RunFault storeFault(const StoreFailure& failure, const LoadProject& project, const std::string& stream) {
  RunFault fault{"", ExitStatus::kServer};
  switch (failure.code) {
    case KYV_ERROR_HELD:
      fault.message = userMessage("deliveryHeld", {project.adapter()});
      break;
    case KYV_ERROR_REPLACED:
      fault.message = userMessage("deliveryReplaced", {project.adapter()});
      break;
    default:
      fault.message = userMessage("publishFailed", {stream, failure.message});
  }
  return fault;
}

bool LoadPublisher::publish(const LoadBatch& batch, RunFault& fault) {
  StoreFailure failure;
  const bool done =
      project_.publish(batch, failure) || (failure.code == KYV_ERROR_STORE && publishAgain(batch, failure));
  if (!done) {
    fault = storeFault(failure, project_, stream_);
    const bool isOthers = failure.code == KYV_ERROR_REPLACED || failure.code == KYV_ERROR_HELD;
    if (!isOthers) fault.message += remains();
    if (!isOthers && interrupted()) fault.status = ExitStatus::kInterrupted;
    return false;
  }
  stored_ = batch.end;
  statistics_.countBatch(batch);
  return true;
}

std::string LoadPublisher::remains() const {
  if (!stored_) return "; nothing is published yet";
  return "; published up to " + stored_->text() + ", and the same command goes on from there";
}

// The first time at once, and although the run was interrupted: most often a connection was lost, and the answer with
// it.
bool LoadPublisher::publishAgain(const LoadBatch& batch, StoreFailure& failure) {
  const Clock::time_point end = Clock::now() + options_.retry;
  std::chrono::milliseconds pause = kFirstPause;
  Attempt last = Attempt::kFailed;
  if (options_.retry.count() == 0) return false;
  for (int attempts = 0; attempts == 0 || Clock::now() < end; ++attempts) {
    statistics_.countRetry();
    last = attempt(batch, failure);
    if (last != Attempt::kFailed || interrupted()) break;
    if (attempts == 0) {
      tell_(userMessage("publishRetried", {stream_, failure.message, std::to_string(options_.retry.count())}));
    }
    if (!pauseUntil(std::min(Clock::now() + pause, end))) break;
    pause = std::min(2 * pause, kLongestPause);
  }
  return last == Attempt::kDone;
}

LoadPublisher::Attempt LoadPublisher::attempt(const LoadBatch& batch, StoreFailure& failure) {
  std::optional<LoadPosition> stored;
  const auto failed = [&] { return failure.code == KYV_ERROR_STORE ? Attempt::kFailed : Attempt::kHopeless; };
  if (!project_.takeDeliveryAgain(stored, failure)) return failed();
  if (stored == batch.end) return Attempt::kDone;
  if (stored != stored_) {
    failure = {KYV_ERROR_REFUSED, userMessage("positionDiffers", {textOf(stored), textOf(stored_), textOf(batch.end)})};
    return Attempt::kHopeless;
  }
  return project_.publish(batch, failure) ? Attempt::kDone : failed();
}

}  // namespace kyv_internal
