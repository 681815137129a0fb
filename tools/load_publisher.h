#pragma once

// Publishes one batch after another, each once, whatever happens to the store meanwhile. A batch whose publishing
// failed may be stored or not: what the store says of the position decides, never what this process remembers.
//
// Threads: one at a time.

#include <functional>
#include <optional>
#include <string>

#include "load_batch.h"
#include "load_options.h"
#include "load_project.h"
#include "load_statistics.h"
#include "row_sink.h"

namespace kyv_internal {

// What went wrong, for the person at the terminal: while connecting, and after.
RunFault connectFault(const StoreFailure& failure, const std::string& project);
RunFault storeFault(const StoreFailure& failure, const LoadProject& project, const std::string& stream);

class LoadPublisher {
 public:
  // `tell` is given lines for the person at the terminal. `stored` is how far the delivery has come.
  LoadPublisher(LoadProject& project, const LoadOptions& options, std::string stream,
                std::optional<LoadPosition> stored, LoadStatistics& statistics,
                std::function<void(const std::string&)> tell)
      : project_(project),
        options_(options),
        stream_(std::move(stream)),
        stored_(stored),
        statistics_(statistics),
        tell_(std::move(tell)) {}

  // False with a fault: this batch is not published, or another adapter has taken over.
  [[nodiscard]] bool publish(const LoadBatch& batch, RunFault& fault);

  // What is known to be stored, and what that means for a run that ends now: goes behind why it does.
  const std::optional<LoadPosition>& stored() const { return stored_; }
  std::string remains() const;

 private:
  enum class Attempt { kDone, kFailed, kHopeless };

  bool publishAgain(const LoadBatch& batch, StoreFailure& failure);
  Attempt attempt(const LoadBatch& batch, StoreFailure& failure);

  LoadProject& project_;
  const LoadOptions& options_;
  const std::string stream_;
  std::optional<LoadPosition> stored_;
  LoadStatistics& statistics_;
  std::function<void(const std::string&)> tell_;
};

}  // namespace kyv_internal
