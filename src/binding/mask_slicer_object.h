#pragma once

#include <napi.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "binding/job.h"
#include "binding/shared_slicer.h"

namespace stiltforge::binding {

/// The JavaScript class MaskSlicer: a stiltforge::slicing::MaskSlicer whose slices are computed on
/// worker threads, one at a time. packages/stiltforge/src/slicing.ts declares it. Refused arguments
/// throw Napi::Error or reject the promise.
class MaskSlicerObject : public Napi::ObjectWrap<MaskSlicerObject> {
 public:
  /// The class, for the module's exports.
  static Napi::Function define(Napi::Env env);

  /// One argument, MaskSlicerOptions.
  explicit MaskSlicerObject(const Napi::CallbackInfo& info);
  /// The slicer of a script value that is a MaskSlicer; null for any other.
  static std::shared_ptr<SharedMaskSlicer> slicerOf(Napi::Value value);
  /// A copy of a mask for the slicer. Throws a TypeError or a RangeError when it is none,
  /// std::bad_alloc.
  static std::vector<uint8_t> readMask(const SharedMaskSlicer& shared, Napi::Value value);

 private:
  // (mask, recycled?) => Promise<Slice>
  Napi::Value next(const Napi::CallbackInfo& info);

  std::shared_ptr<SharedMaskSlicer> shared_;
  JobQueue<Job> queue_;
};

}  // namespace stiltforge::binding
