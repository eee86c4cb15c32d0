#pragma once

#include <napi.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "binding/job.h"
#include "hold/surveyed_part.h"
#include "node_api/model_limits.h"

namespace stiltforge::binding {

/// The JavaScript class Survey: a part whose given points are judged or finished. Its jobs run on
/// Node's worker threads one at a time in the order of the calls.
/// packages/stiltforge/src/binding.ts declares it. A call that is refused throws; what fails at
/// work rejects the promise.
class SurveyObject : public Napi::ObjectWrap<SurveyObject> {
 public:
  /// The class, for the module's exports.
  static Napi::Function define(Napi::Env env);

  /// Width and height of the slices, and SurveyOptions.
  explicit SurveyObject(const Napi::CallbackInfo& info);

 private:
  struct State {
    hold::SurveyedPart part;
    std::optional<std::string> failure;  // of an earlier layer
  };

  // (pixels, points) => Promise<number>
  Napi::Value addPixels(const Napi::CallbackInfo& info);
  // (runs, points) => Promise<number>
  Napi::Value addRuns(const Napi::CallbackInfo& info);
  // (slicer, first, points: one list for each layer) => Promise<number>
  Napi::Value addSlicer(const Napi::CallbackInfo& info);
  // (settings) => Promise<Verdict>
  Napi::Value judge(const Napi::CallbackInfo& info);
  // (settings) => Promise<FinishedSupports>
  Napi::Value finish(const Napi::CallbackInfo& info);

  Napi::Promise queueSlice(const Napi::CallbackInfo& info, const std::function<Slice()>& take);
  Napi::Promise queueLayers(const Napi::CallbackInfo& info,
                            std::function<void(hold::SurveyedPart&)> add);
  std::function<hold::SurveyedPart&()> source() const;

  SliceSize size_;
  std::shared_ptr<State> state_;
  JobQueue<Job> queue_;
};

}  // namespace stiltforge::binding
