#pragma once

// Benchmarks in pairs: the library's way and a peer's way of one job, on the same inputs, in the same program. A pair
// whose results differ is not timed: the program ends with the input that shows it.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace kyv_internal {

template <class Input, class Operation>
void registerSide(const std::string& name, const std::vector<Input>& inputs, Operation operation) {
  benchmark::RegisterBenchmark(name.c_str(), [&inputs, operation](benchmark::State& state) mutable {
    for ([[maybe_unused]] auto _ : state) {
      for (const Input& input : inputs) {
        benchmark::DoNotOptimize(operation(input));
        benchmark::ClobberMemory();
      }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(inputs.size()));
  });
}

// Registers "JOB/kyv" and "JOB/peer". Both operations turn an input into a result; results compare with ==. The inputs,
// and what the operations refer to, must outlive the run.
template <class Input, class Ours, class Peer>
void registerPair(const std::string& job, const std::vector<Input>& inputs, Ours ours, Peer peer) {
  for (std::size_t i = 0; i < inputs.size(); ++i) {
    if (ours(inputs[i]) == peer(inputs[i])) continue;
    std::fprintf(stderr, "%s: the two differ at input %zu\n", job.c_str(), i);
    std::exit(1);
  }
  registerSide(job + "/kyv", inputs, ours);
  registerSide(job + "/peer", inputs, peer);
}

}  // namespace kyv_internal
