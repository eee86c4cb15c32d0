#include "binding/job_queue.h"

#include <utility>

namespace stiltforge::binding {

Napi::Promise JobQueue::add(const Napi::Object& owner, std::unique_ptr<Job> job) {
  Napi::Promise promise = job->promise();
  waiting_.push_back({std::move(job), Napi::Persistent(owner)});
  if (running_.IsEmpty()) startNext();
  return promise;
}

void JobQueue::startNext() {
  if (waiting_.empty()) return;
  Waiting next = std::move(waiting_.front());
  waiting_.pop_front();
  running_ = std::move(next.owner);
  Job::start(std::move(next.job), [this] {
    running_.Reset();
    startNext();
  });
}

}  // namespace stiltforge::binding
