#pragma once

#include <napi.h>

#include <memory>

#include "binding/job_queue.h"
#include "slicing/mask_slicer.h"

namespace stiltforge::binding {

/// The JavaScript class MaskSlicer: a stiltforge::slicing::MaskSlicer whose slices are computed on
/// worker threads, one at a time. packages/cli/src/slicer.ts declares it. Refused arguments throw
/// Napi::Error or reject the promise.
class MaskSlicerObject : public Napi::ObjectWrap<MaskSlicerObject> {
 public:
  /// The class, for the module's exports.
  static Napi::Function define(Napi::Env env);

  /// One argument, MaskSlicerOptions.
  explicit MaskSlicerObject(const Napi::CallbackInfo& info);

 private:
  // (mask, recycled?) => Promise<Slice>
  Napi::Value next(const Napi::CallbackInfo& info);

  std::unique_ptr<slicing::MaskSlicer> slicer_;
  JobQueue queue_;
  int width_ = 0;
  int height_ = 0;
};

}  // namespace stiltforge::binding
