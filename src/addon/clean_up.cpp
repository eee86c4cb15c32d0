#include "addon/clean_up.h"

#include <cstdint>
#include <string>

#include "addon/analysis_owner.h"
#include "addon/environment.h"
#include "addon/process_model.h"
#include "node_api/refusal.h"

namespace stiltforge {

void CleanPointer(const Napi::CallbackInfo& info) {
  const Environment& environment = *Environment::of(info.Env());
  AnalysisClaim claim(info.Env(), environment);
  environment.requireIdle(info.Env(), "CleanPointer");
  processModel().close();
  claim.giveUp();
}

void CleanSlicePointer(const Napi::CallbackInfo& info) {
  const Napi::Env env = info.Env();
  const auto index = static_cast<uint16_t>(info[0].As<Napi::Number>().Uint32Value());
  const Environment& environment = *Environment::of(env);
  const AnalysisClaim claim(env, environment);
  environment.requireIdle(env, "CleanSlicePointer");
  const std::size_t layers = processModel().model.layers().size();
  if (index >= layers) {
    throw refusal(env, codes::index,
                  "CleanSlicePointer got index " + std::to_string(index) +
                      ", but the history holds " + std::to_string(layers) +
                      " layers, counted from 0. Only analysed slices can be freed.");
  }
  // The pixels of an analysed slice are freed already: nothing reads them after the analysis.
}

}  // namespace stiltforge
