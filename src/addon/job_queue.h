#pragma once

#include <napi.h>

#include <deque>
#include <memory>

#include "addon/job.h"

namespace stiltforge {

/// The jobs of one environment, first in, first out. Used on the environment's own thread only.
class JobQueue {
 public:
  /// Starts the job, or lets it wait for those before it.
  void add(std::unique_ptr<Job> job);
  /// The running job is over: starts the next. Does nothing for any other job.
  void finished(const Job* job);
  /// Frees the jobs that have not started.
  void dropWaiting();
  /// Throws an Error that names the running job, unless there is none.
  void requireIdle(Napi::Env env, const char* function) const;

 private:
  void startNext();

  Job* running = nullptr;  // the host owns a started job and deletes it when it completes
  std::deque<std::unique_ptr<Job>> waiting;
};

}  // namespace stiltforge
