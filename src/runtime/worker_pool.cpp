#include "runtime/worker_pool.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

#include "runtime/thread_pool.h"

namespace stiltforge::workers {

namespace {

std::mutex poolMutex;
std::unique_ptr<ctpl::thread_pool> pool;
// 0 where the C++ library cannot tell the number of processors.
int COUNT = std::max(1, static_cast<int>(std::thread::hardware_concurrency()));

ctpl::thread_pool& startedPool() {
  std::lock_guard<std::mutex> lock(poolMutex);
  if (!pool) pool = std::make_unique<ctpl::thread_pool>(COUNT);
  return *pool;
}

// One loop's state, shared with the helpers: a helper that the pool starts only after the loop is
// over finds no index left and touches nothing else.
struct Loop {
  Loop(std::size_t count, const std::function<void(std::size_t)>& f) : size(count), body(&f) {}

  const std::size_t size;
  const std::function<void(std::size_t)>* body;
  std::atomic<std::size_t> next{0};
  std::mutex mutex;
  std::condition_variable finished;
  std::size_t completed = 0;
  std::exception_ptr failure;
  std::size_t failedIndex = 0;

  void work() {
    std::size_t processed = 0;
    for (;;) {
      const std::size_t i = next.fetch_add(1, std::memory_order_relaxed);
      if (i >= size) break;
      try {
        (*body)(i);
      } catch (...) {
        std::lock_guard<std::mutex> lock(mutex);
        if (!failure || i < failedIndex) {
          failure = std::current_exception();
          failedIndex = i;
        }
      }
      ++processed;
    }
    if (processed == 0) return;
    std::lock_guard<std::mutex> lock(mutex);
    completed += processed;
    if (completed == size) finished.notify_all();
  }
};

}  // namespace

int count() {
  return COUNT;
}

void setCount(int n) {
  shutdown();
  COUNT = std::max(1, n);
}

void shutdown() {
  std::lock_guard<std::mutex> lock(poolMutex);
  pool.reset();
}

void parallelFor(std::size_t n, const std::function<void(std::size_t)>& body) {
  if (n == 0) return;
  auto loop = std::make_shared<Loop>(n, body);
  const std::size_t helpers = std::min<std::size_t>(n, static_cast<std::size_t>(COUNT)) - 1;
  try {
    for (std::size_t i = 0; i < helpers; ++i) {
      startedPool().push([loop](int) { loop->work(); });
    }
  } catch (...) {
    // Helpers only make the loop faster: without them the caller does all the work.
  }
  loop->work();
  std::unique_lock<std::mutex> lock(loop->mutex);
  loop->finished.wait(lock, [&] { return loop->completed == loop->size; });
  // Taken out, so that a helper that lets go of the loop later does not touch it.
  if (loop->failure) std::rethrow_exception(std::exchange(loop->failure, nullptr));
}

}  // namespace stiltforge::workers
