#pragma once

#include <napi.h>

#include <memory>

#include "binding/job.h"
#include "binding/shared_slicer.h"
#include "slicing/slicer.h"

namespace stiltforge::binding {

/// The JavaScript class Slicer: a stiltforge::slicing::Slicer whose slices are computed on worker
/// threads, one at a time. packages/stiltforge/src/slicing.ts declares it. Refused arguments throw
/// Napi::Error or reject the promise; the mesh's memory is told to the garbage collector.
class SlicerObject : public Napi::ObjectWrap<SlicerObject> {
 public:
  /// The class, for the module's exports.
  static Napi::Function define(Napi::Env env);

  /// One argument, SlicerOptions.
  explicit SlicerObject(const Napi::CallbackInfo& info);
  /// The slicer of a script value that is a Slicer; null for any other.
  static std::shared_ptr<SharedSlicer> slicerOf(Napi::Value value);

  /// Takes the mesh's memory back from what the garbage collector counts.
  void Finalize(Napi::BasicEnv env) override;

 private:
  // (index, recycled?) => Promise<Slice>
  Napi::Value slice(const Napi::CallbackInfo& info);
  // (first, count?) => Promise<LabelledRuns[]>
  Napi::Value runs(const Napi::CallbackInfo& info);
  int64_t meshBytes() const;

  std::shared_ptr<SharedSlicer> shared_;
  const slicing::Slicer* slicer_ = nullptr;  // the shared one
  JobQueue<Job> queue_;
};

}  // namespace stiltforge::binding
