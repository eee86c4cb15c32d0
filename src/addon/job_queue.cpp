#include "addon/job_queue.h"

#include <string>
#include <utility>

#include "node_api/refusal.h"

namespace stiltforge {

void JobQueue::add(std::unique_ptr<Job> job) {
  if (!running) {
    job->Queue();
    running = job.release();
  } else {
    waiting.push_back(std::move(job));
  }
}

void JobQueue::finished(const Job* job) {
  if (job != running) return;
  running = nullptr;
  startNext();
}

void JobQueue::startNext() {
  while (!running && !waiting.empty()) {
    std::unique_ptr<Job> next = std::move(waiting.front());
    waiting.pop_front();
    try {
      next->Queue();
      running = next.release();
    } catch (const Napi::Error&) {
      // The host accepts no work any more, which means that it is going down: no callback either.
    }
  }
}

void JobQueue::dropWaiting() {
  waiting.clear();
}

void JobQueue::requireIdle(Napi::Env env, const char* function) const {
  if (!running) return;
  std::string message =
      std::string(function) + " cannot run while " + running->subject() + " is being worked on";
  if (!waiting.empty()) {
    message += " and " + std::to_string(waiting.size()) + " more " +
               (waiting.size() == 1 ? "job waits" : "jobs wait") + " behind it";
  }
  throw refusal(env, codes::busy, message + ". Call it in the last callback or later.");
}

}  // namespace stiltforge
