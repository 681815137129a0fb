// Statistics beside what they cannot do without: two copies an update.

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "benchmarks/pair.h"
#include "kyv/adapter_statistics_map.h"

namespace kyv_internal {
namespace {

constexpr int kNames = 20;
constexpr int kRounds = 50;  // of updates between two reports

struct Update {
  std::string name;
  std::string value;
};

// What happens between two reports: some numbers that grow.
std::vector<std::vector<Update>> reports() {
  std::vector<Update> updates;
  for (int i = 0; i < kRounds * kNames; ++i) {
    updates.push_back({"adapter statistic " + std::to_string(i % kNames), std::to_string(12345 * i)});
  }
  return {updates};
}

// Both sides give the number of copies.
std::size_t updateMap(AdapterStatisticsMap& statistics, const std::vector<Update>& updates) {
  for (const Update& update : updates) {
    const auto* const entry = &statistics.addStatistics(update.name.c_str(), update.value.c_str());
    benchmark::DoNotOptimize(entry);
  }
  statistics.cleanUpData();
  return 2 * updates.size();
}

std::size_t copyTexts(std::vector<char*>& copies, const std::vector<Update>& updates) {
  for (const Update& update : updates) {
    copies.push_back(strdup(update.name.c_str()));
    copies.push_back(strdup(update.value.c_str()));
  }
  const std::size_t count = copies.size();
  while (!copies.empty()) {
    std::free(copies.back());
    copies.pop_back();
  }
  return count;
}

}  // namespace

void runServicesBenchmarks() {
  const std::vector<std::vector<Update>> inputs = reports();
  AdapterStatisticsMap statistics;
  std::vector<char*> copies;
  registerPair(
      "1000 statistics", inputs, [&](const std::vector<Update>& updates) { return updateMap(statistics, updates); },
      [&](const std::vector<Update>& updates) { return copyTexts(copies, updates); });
  benchmark::RunSpecifiedBenchmarks();
}

}  // namespace kyv_internal

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  kyv_internal::runServicesBenchmarks();
  return 0;
}
