#pragma once

#include <cstddef>
#include <functional>

namespace stiltforge {

/// The process-wide pool that the analysis spreads its work over. It is started by the first use
/// and lives between slices.
namespace workers {

/// Number of worker threads, at least 1: std::thread::hardware_concurrency() at load unless set.
int count();
/// Stops the pool and lets the next use start one of `n` workers, or of one where `n` is less. No
/// analysis may be running.
void setCount(int n);
/// Joins and frees the pool; the next use starts a new one. No analysis may be running.
void shutdown();

/// Calls body(i) once for every i in [0, n), on the caller and on idle workers, and returns when
/// all calls are done. Which thread runs an index is open, so bodies write only what belongs to
/// their index. May be nested. The exception of the lowest failing index is rethrown, after all
/// have run.
void parallelFor(std::size_t n, const std::function<void(std::size_t)>& body);

}  // namespace workers
}  // namespace stiltforge
