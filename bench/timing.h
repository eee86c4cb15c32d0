#pragma once

#include <benchmark/benchmark.h>

#include <chrono>

namespace stiltforge::bench {

// Times measured() alone; prepare() runs before each call and is not counted. One uncounted round
// comes first, since other benchmarks have run in between and hold the caches.
template <typename Prepare, typename Measured>
void timeEach(benchmark::State& state, Prepare prepare, Measured measured) {
  prepare();
  measured();
  for (auto _ : state) {
    prepare();
    const auto start = std::chrono::steady_clock::now();
    measured();
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    state.SetIterationTime(taken.count());
  }
}

}  // namespace stiltforge::bench
