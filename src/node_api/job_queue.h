#pragma once

#include <cstddef>
#include <deque>
#include <memory>
#include <utility>

namespace stiltforge {

/// Runs asynchronous jobs one after the other, in the order of the calls. Used on the thread of its
/// environment only.
///
/// static bool Job::start(std::unique_ptr<Job>) hands a job to one of Node's worker threads: the
/// job owns itself from then on and says when it is over. False when the host takes no work any
/// more; the job is gone then.
template <typename Job>
class JobQueue {
 public:
  /// Starts the job, or lets it wait for those before it.
  void add(std::unique_ptr<Job> job) {
    waiting_.push_back(std::move(job));
    startNext();
  }

  /// The running job is over: starts the next. Does nothing for any other job.
  void finished(const Job* job) {
    if (job != running_) return;
    running_ = nullptr;
    startNext();
  }

  /// Frees the jobs that have not started.
  void dropWaiting() { waiting_.clear(); }

  /// Null when there is none.
  const Job* running() const { return running_; }
  std::size_t waitingCount() const { return waiting_.size(); }

 private:
  void startNext() {
    while (running_ == nullptr && !waiting_.empty()) {
      std::unique_ptr<Job> next = std::move(waiting_.front());
      waiting_.pop_front();
      const Job* const job = next.get();
      if (Job::start(std::move(next))) running_ = job;
    }
  }

  const Job* running_ = nullptr;
  std::deque<std::unique_ptr<Job>> waiting_;
};

}  // namespace stiltforge
