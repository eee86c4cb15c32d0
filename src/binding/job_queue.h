#pragma once

#include <napi.h>

#include <deque>
#include <functional>
#include <memory>

#include "slicing/slice_info.h"

namespace stiltforge::binding {

/// Runs the slices of one object one after the other on Node's worker threads, in the order of the
/// calls. Lives in that object and is used on its environment's thread only.
class JobQueue {
 public:
  JobQueue();
  ~JobQueue();
  JobQueue(const JobQueue&) = delete;
  JobQueue& operator=(const JobQueue&) = delete;

  /// Promises { pixels, materialPixels, z } once `work`, which fills `pixels`, has run; an
  /// exception of `work` becomes the rejection. `owner`, which holds this queue and what `work`
  /// uses, `pixels` and `input` stay alive until then. No JavaScript may run in `work`.
  Napi::Promise add(Napi::Object owner, Napi::ArrayBuffer pixels, Napi::Value input,
                    std::function<slicing::SliceInfo()> work);

 private:
  struct Job;

  void startNext();
  static void run(napi_env env, void* data);
  static void complete(napi_env env, napi_status status, void* data);

  std::deque<std::unique_ptr<Job>> waiting_;
  bool running_ = false;
};

}  // namespace stiltforge::binding
