#include "addon/group_to_bitmap.h"

#include <cstdint>
#include <memory>

#include "addon/analysis_owner.h"
#include "addon/environment.h"
#include "addon/group_to_bitmap_worker.h"
#include "addon/process_model.h"
#include "node_api/refusal.h"

namespace stiltforge {

Napi::Value GroupToBitmap(const Napi::CallbackInfo& info) {
  const Napi::Env env = info.Env();
  if (info.Length() < 3) throw Napi::Error::New(env, "Expected exactly 5 argument");
  const auto layerIndex = static_cast<uint16_t>(info[0].As<Napi::Number>().Uint32Value());
  const uint32_t groupIndex = info[1].As<Napi::Number>().Uint32Value();
  if (!info[2].IsFunction()) throw Napi::Error::New(env, "Expected an Function as 2 argument");

  const std::shared_ptr<Environment>& environment = Environment::of(env);
  const AnalysisClaim claim(env, *environment);
  if (!claim.isOwner() || processModel().model.isCleared()) {
    throw refusal(env, codes::closed,
                  "No model is open, so there is no group to render. Call InitAnalyseSlice and "
                  "analyse a slice first, and render before CleanPointer.");
  }
  environment->jobs.add(std::make_unique<GroupToBitmapWorker>(info[2].As<Napi::Function>(),
                                                              environment, layerIndex, groupIndex));
  return env.Undefined();
}

}  // namespace stiltforge
