#pragma once

// What a load has done so far, counted, and told as a framework that watches adapters would ask for it.
//
// Threads: any.

#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

#include "kyv/adapter_statistics_map.h"
#include "load_batch.h"

namespace kyv_internal {

class LoadStatistics {
 public:
  LoadStatistics() = default;
  LoadStatistics(const LoadStatistics&) = delete;
  LoadStatistics& operator=(const LoadStatistics&) = delete;
  ~LoadStatistics() { map_.cleanUpData(); }

  // Where the delivery stood before.
  void setPosition(const LoadPosition& position) { position_ = position; }
  void countBatch(const LoadBatch& batch);
  void countRetry();
  std::uint64_t rows() const;

  enum class Form { kText, kJson };
  // "rows 20000, batches 2, rows_per_second 81000, bytes 2100000, retries 0, key 20000, rows_of_key 0".
  std::string report(Form form);

 private:
  using Clock = std::chrono::steady_clock;

  void fillMap();

  mutable std::mutex mutex_;  // guards all but the beginning
  const Clock::time_point begun_ = Clock::now();
  std::uint64_t rows_ = 0;
  std::uint64_t batches_ = 0;
  std::uint64_t bytes_ = 0;  // of records
  std::uint64_t retries_ = 0;
  std::optional<LoadPosition> position_;
  AdapterStatisticsMap map_;
};

}  // namespace kyv_internal
