#include "load_statistics.h"

#include <algorithm>

namespace kyv_internal {
namespace {

constexpr const char* kRows = "rows";
constexpr const char* kBatches = "batches";
constexpr const char* kRate = "rows_per_second";
constexpr const char* kBytes = "bytes";
constexpr const char* kRetries = "retries";
constexpr const char* kKey = "key";
constexpr const char* kRowsOfKey = "rows_of_key";
// In the order in which they are told.
constexpr const char* kNames[] = {kRows, kBatches, kRate, kBytes, kRetries, kKey, kRowsOfKey};

}  // namespace

void LoadStatistics::countBatch(const LoadBatch& batch) {
  const std::lock_guard lock(mutex_);
  rows_ += batch.rows;
  bytes_ += batch.records.size();
  position_ = batch.end;
  ++batches_;
}

void LoadStatistics::countRetry() {
  const std::lock_guard lock(mutex_);
  ++retries_;
}

std::uint64_t LoadStatistics::rows() const {
  const std::lock_guard lock(mutex_);
  return rows_;
}

void LoadStatistics::fillMap() {
  const double seconds = std::max(std::chrono::duration<double>(Clock::now() - begun_).count(), 1e-3);
  const auto add = [&](const char* name, auto value) { map_.addStatistics(name, std::to_string(value).c_str()); };
  map_.cleanUpData();
  add(kRows, rows_);
  add(kBatches, batches_);
  add(kRate, static_cast<std::uint64_t>(static_cast<double>(rows_) / seconds));
  add(kBytes, bytes_);
  add(kRetries, retries_);
  if (!position_) return;
  add(kKey, position_->key);
  add(kRowsOfKey, position_->rowsDone);
}

std::string LoadStatistics::report(Form form) {
  const std::lock_guard lock(mutex_);
  fillMap();
  AdapterStatisticsMap::HashMap all;
  map_.getStatisticsMap(all);
  std::string text;
  for (const char* name : kNames) {
    const char* const value = all.find(name);
    if (value == nullptr) continue;
    if (!text.empty()) text += ", ";
    text += form == Form::kJson ? "\"" + std::string(name) + "\": " + value : name + std::string(" ") + value;
  }
  return form == Form::kJson ? "{" + text + "}" : text;
}

}  // namespace kyv_internal
