#pragma once

#include <atomic>
#include <boost/lockfree/queue.hpp>
#include <condition_variable>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace ctpl {
// A name of its own for the linker: a host that links the static library may have a pool of the
// same name.
inline namespace stiltforge_pool {

/// A fixed number of worker threads that run callables taking the worker's index.
///
/// Tasks are handed over through a lock-free queue of heap-allocated callables; the mutex and the
/// condition variable only put idle workers to sleep. Whoever takes a task off the queue deletes
/// it.
class thread_pool {
 public:
  explicit thread_pool(int workerCount);
  /// A waiting stop().
  ~thread_pool();

  thread_pool(const thread_pool&) = delete;
  thread_pool& operator=(const thread_pool&) = delete;

  /// Queues f(int worker) and returns its future. Dropping the future neither waits nor cancels; an
  /// exception of f is stored in it.
  template <typename F>
  auto push(F&& f) -> std::future<std::invoke_result_t<std::decay_t<F>&, int>> {
    using Result = std::invoke_result_t<std::decay_t<F>&, int>;
    auto packaged = std::make_shared<std::packaged_task<Result(int)>>(std::forward<F>(f));
    auto task = std::make_unique<Task>([packaged](int worker) { (*packaged)(worker); });
    taskQueue.push(task.get());
    static_cast<void>(task.release());
    std::lock_guard<std::mutex> lock(mutex);
    condition.notify_one();
    return packaged->get_future();
  }

  /// wait: run every queued task, then end the workers. Otherwise: end each worker after its
  /// current task and discard what is queued (its futures report a broken promise). Idempotent.
  void stop(bool wait);

  int size() const { return static_cast<int>(workers.size()); }

 private:
  using Task = std::function<void(int)>;

  void set_thread(int i);
  void discardQueued();

  std::vector<std::unique_ptr<std::thread>> workers;
  std::vector<std::shared_ptr<std::atomic<bool>>> stopFlags;
  boost::lockfree::queue<Task*> taskQueue;
  std::atomic<bool> done{false};
  std::atomic<bool> stopped{false};
  std::atomic<int> waitingCount{0};
  std::mutex mutex;
  std::condition_variable condition;
};

}  // namespace stiltforge_pool
}  // namespace ctpl
