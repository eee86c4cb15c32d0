#pragma once

#include <napi.h>

#include <memory>

#include "binding/job.h"
#include "check/print_check.h"

namespace stiltforge::binding {

/// The JavaScript class PrintCheck: a stiltforge::check::PrintCheck that is fed on worker threads.
/// packages/stiltforge/src/check.ts tells of the findings. Refused arguments throw Napi::Error or
/// reject the promise.
class CheckObject : public Napi::ObjectWrap<CheckObject> {
 public:
  /// The class, for the module's exports.
  static Napi::Function define(Napi::Env env);

  /// (CheckOptions, points?: Uint32Array of layer, column and row each)
  explicit CheckObject(const Napi::CallbackInfo& info);

 private:
  // (slicer, first) => Promise<number>: takes layers from `first` on, as many as a short job does.
  Napi::Value add(const Napi::CallbackInfo& info);
  // () => Promise<CheckReport>
  Napi::Value finish(const Napi::CallbackInfo& info);

  std::shared_ptr<check::PrintCheck> check_;
  bool isFinished_ = false;
  JobQueue<Job> queue_;
};

}  // namespace stiltforge::binding
