#pragma once

#include <napi.h>

#include <memory>

#include "binding/job.h"
#include "binding/shared_slicer.h"

namespace stiltforge::binding {

/// The JavaScript class LayerSlicer: a stiltforge::slicing::LayerSlicer over a printer file, whose
/// layers are decoded on worker threads. packages/stiltforge/src/printer_file.ts declares it.
/// Refused arguments throw Napi::Error or reject the promise.
class LayerSlicerObject : public Napi::ObjectWrap<LayerSlicerObject> {
 public:
  /// The class, for the module's exports.
  static Napi::Function define(Napi::Env env);

  /// (file: PrinterFile, options: LayerSlicerOptions)
  explicit LayerSlicerObject(const Napi::CallbackInfo& info);
  /// The slicer of a script value that is a LayerSlicer; null for any other.
  static std::shared_ptr<SharedSlicer> slicerOf(Napi::Value value);

 private:
  // (index, recycled?) => Promise<Slice>
  Napi::Value slice(const Napi::CallbackInfo& info);
  // (first, count?) => Promise<LabelledRuns[]>
  Napi::Value runs(const Napi::CallbackInfo& info);

  std::shared_ptr<SharedSlicer> shared_;
  JobQueue<Job> queue_;
};

}  // namespace stiltforge::binding
