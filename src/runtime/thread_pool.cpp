#include "runtime/thread_pool.h"

namespace ctpl {
inline namespace stiltforge_pool {

namespace {
constexpr std::size_t initialQueueNodes = 100;
}

thread_pool::thread_pool(int workerCount) : taskQueue(initialQueueNodes) {
  const int n = workerCount > 0 ? workerCount : 0;
  workers.resize(n);
  stopFlags.resize(n);
  for (int i = 0; i < n; ++i) {
    stopFlags[i] = std::make_shared<std::atomic<bool>>(false);
    try {
      set_thread(i);
    } catch (...) {
      // The destructor does not run for a half-built pool, and a joinable thread must not be
      // dropped.
      stop(false);
      throw;
    }
  }
}

thread_pool::~thread_pool() {
  stop(true);
  // What was pushed after a stop.
  discardQueued();
}

void thread_pool::set_thread(int i) {
  workers[i] = std::make_unique<std::thread>([this, i, flag = stopFlags[i]] {
    Task* next = nullptr;
    bool taken = taskQueue.pop(next);
    for (;;) {
      while (taken) {
        std::unique_ptr<Task> task(next);
        (*task)(i);
        task.reset();
        if (*flag) return;
        taken = taskQueue.pop(next);
      }
      std::unique_lock<std::mutex> lock(mutex);
      ++waitingCount;
      while (!(taken = taskQueue.pop(next))) {
        if (done || *flag) {
          --waitingCount;
          return;
        }
        condition.wait(lock);
      }
      --waitingCount;
    }
  });
}

void thread_pool::discardQueued() {
  Task* task = nullptr;
  while (taskQueue.pop(task)) delete task;
}

void thread_pool::stop(bool wait) {
  if (wait) {
    if (done || stopped) return;
    done = true;
  } else {
    if (stopped) return;
    stopped = true;
    for (auto& flag : stopFlags) {
      if (flag) *flag = true;
    }
    discardQueued();
  }
  {
    std::lock_guard<std::mutex> lock(mutex);
    condition.notify_all();
  }
  for (auto& worker : workers) {
    if (worker && worker->joinable()) worker->join();
  }
  discardQueued();
  workers.clear();
  stopFlags.clear();
}

}  // namespace stiltforge_pool
}  // namespace ctpl
