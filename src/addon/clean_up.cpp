#include "addon/clean_up.h"

#include <cstdint>
#include <string>

#include "addon/analysis_owner.h"
#include "addon/environment.h"
#include "addon/model_state.h"
#include "addon/refusal.h"
#include "addon/slice_worker.h"

namespace stiltforge {

void CleanPointer(const Napi::CallbackInfo& info) {
  const Environment& environment = *Environment::of(info.Env());
  AnalysisClaim claim(info.Env(), environment);
  environment.jobs.requireIdle(info.Env(), "CleanPointer");
  ModelState::close();
  claim.giveUp();
}

void CleanSlicePointer(const Napi::CallbackInfo& info) {
  const Napi::Env env = info.Env();
  const auto index = static_cast<uint16_t>(info[0].As<Napi::Number>().Uint32Value());
  const Environment& environment = *Environment::of(env);
  const AnalysisClaim claim(env, environment);
  environment.jobs.requireIdle(env, "CleanSlicePointer");
  if (index >= SliceWorker::layers.size()) {
    throw refusal(env, codes::index,
                  "CleanSlicePointer got index " + std::to_string(index) +
                      ", but the history holds " + std::to_string(SliceWorker::layers.size()) +
                      " layers, counted from 0. Only analysed slices can be freed.");
  }
  SliceWorker::layers[index].releasePixels();
}

}  // namespace stiltforge
