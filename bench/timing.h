#pragma once

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstddef>

#include "processor_time.h"

namespace stiltforge::bench {

// Times measured() alone; prepare() runs before each call and is not counted. The counter
// "processor_ms" is the mean CPU time of a call. What is reported is the share of one of `parts`
// equal parts of the work.
template <typename Prepare, typename Measured>
void timeEach(benchmark::State& state, Prepare prepare, Measured measured, std::size_t parts = 1) {
  double processor = 0;
  for (auto _ : state) {
    prepare();
    const double processorStart = processorSeconds();
    const auto start = std::chrono::steady_clock::now();
    measured();
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    processor += processorSeconds() - processorStart;
    state.SetIterationTime(taken.count() / static_cast<double>(parts));
  }
  state.counters["processor_ms"] = benchmark::Counter(1000 * processor / static_cast<double>(parts),
                                                      benchmark::Counter::kAvgIterations);
}

// The same after one uncounted round, since other benchmarks have run in between and hold the
// caches.
template <typename Prepare, typename Measured>
void timeEachWarm(benchmark::State& state, Prepare prepare, Measured measured,
                  std::size_t parts = 1) {
  prepare();
  measured();
  timeEach(state, prepare, measured, parts);
}

}  // namespace stiltforge::bench
