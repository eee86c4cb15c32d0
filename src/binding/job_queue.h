#pragma once

#include <napi.h>

#include <deque>
#include <memory>

#include "binding/job.h"

namespace stiltforge::binding {

/// Runs the jobs of one object one after the other, in the order of the calls. Lives in that object
/// and is used on its environment's thread only.
class JobQueue {
 public:
  /// The promise of `job`. `owner`, the object that holds this queue and what the job uses, stays
  /// alive until then.
  Napi::Promise add(const Napi::Object& owner, std::unique_ptr<Job> job);

 private:
  struct Waiting {
    std::unique_ptr<Job> job;
    Napi::ObjectReference owner;
  };

  void startNext();

  std::deque<Waiting> waiting_;
  Napi::ObjectReference running_;  // the owner, while a job runs
};

}  // namespace stiltforge::binding
