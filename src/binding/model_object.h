#pragma once

#include <napi.h>

#include <cstdint>
#include <functional>
#include <memory>

#include "binding/job.h"
#include "binding/model_in_work.h"
#include "node_api/model_limits.h"

namespace stiltforge::binding {

/// The JavaScript class Model: a model under analysis, independent of all others. Its jobs run on
/// Node's worker threads one at a time in the order of the calls, those of several models in turn.
/// packages/stiltforge/src/binding.ts declares it. A call that is refused throws, so that its host
/// knows at once that nothing was taken; what fails at work rejects the promise.
class ModelObject : public Napi::ObjectWrap<ModelObject> {
 public:
  /// The class, for the module's exports.
  static Napi::Function define(Napi::Env env);

  /// The 28 parameters and, optional, SurveyOptions.
  explicit ModelObject(const Napi::CallbackInfo& info);
  void Finalize(Napi::BasicEnv env) override;

 private:
  // (pixels: ArrayBuffer | Uint8Array | Uint8ClampedArray) => Promise<SliceResult>
  Napi::Value analysePixels(const Napi::CallbackInfo& info);
  // (runs: SliceRuns) => Promise<SliceResult>
  Napi::Value analyseRuns(const Napi::CallbackInfo& info);
  // (slicer: MaskSlicer, mask: Uint8Array) => Promise<SliceResult>
  Napi::Value analyseMask(const Napi::CallbackInfo& info);
  // (slicer: Slicer, first: number, most?: number) => Promise<SliceResult[]>
  Napi::Value analyseSlicer(const Napi::CallbackInfo& info);
  // (layer: number, group: number) => Promise<{ width, height, images }>
  Napi::Value groupImages(const Napi::CallbackInfo& info);
  // () => Promise<Float64Array>
  Napi::Value owedPixels(const Napi::CallbackInfo& info);
  // (settings: JudgeOptions) => Promise<Verdict>
  Napi::Value judge(const Napi::CallbackInfo& info);
  // (settings: FinishOptions) => Promise<FinishedSupports>
  Napi::Value finish(const Napi::CallbackInfo& info);
  // () => Promise<undefined>
  Napi::Value close(const Napi::CallbackInfo& info);

  void requireOpen(Napi::Env env) const;
  SliceSize size() const;
  // take: makes the slice and, with buffers, copies its picture.
  Napi::Promise queueSlice(const Napi::CallbackInfo& info, bool hasPicture,
                           const std::function<Slice(uint8_t* copy)>& take);

  std::shared_ptr<ModelInWork> model_;
  JobQueue<Job> queue_;
  bool isClosed_ = false;
};

}  // namespace stiltforge::binding
