#pragma once

#include <napi.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "addon/job.h"
#include "node_api/job_queue.h"
#include "node_api/result_buffer.h"

namespace stiltforge {

/// One environment that has loaded the module: the main thread, a worker thread, or a further
/// context of either. The analysis state is not part of it: that is process-wide, see
/// analysis_owner.h.
struct Environment {
  /// Creates the record of `env`, which ends with it.
  static void open(Napi::Env env);
  static const std::shared_ptr<Environment>& of(Napi::Env env);

  /// Throws an Error that names the job in work, unless there is none.
  void requireIdle(Napi::Env env, const char* function) const;

  uint32_t id = 0;   ///< counts from 1, never reused
  std::string name;  ///< for messages: "the main thread", "worker thread 3"
  JobQueue<Job> jobs;
  std::mutex executing;             ///< held while a job of this environment executes
  std::atomic<bool> closed{false};  ///< it is ending: jobs stop, no callback is called any more
  MemoryFunctions memory;

 private:
  void close();
};

}  // namespace stiltforge
