#include "addon/analyse_slice.h"

#include <memory>
#include <new>
#include <string>
#include <utility>

#include "addon/analysis_owner.h"
#include "addon/environment.h"
#include "addon/process_model.h"
#include "addon/slice_worker.h"
#include "node_api/refusal.h"

namespace stiltforge {

namespace {

std::size_t sliceBytes() {
  const ModelParameters& parameters = processModel().parameters;
  return std::size_t{4} * parameters.width * parameters.height;
}

std::string sliceNeed() {
  const ModelParameters& parameters = processModel().parameters;
  return "a slice of " + std::to_string(parameters.width) + " x " +
         std::to_string(parameters.height) + " pixels needs " + std::to_string(sliceBytes()) +
         " bytes";
}

void checkArguments(const Napi::CallbackInfo& info) {
  const Napi::Env env = info.Env();
  if (info.Length() < 3) throw Napi::Error::New(env, "Expected exactly 5 argument");
  if (!info[0].IsArrayBuffer()) {
    throw Napi::Error::New(env, "Expected an ArrayBuffer as 0 argument");
  }
  if (!info[1].IsNumber()) throw Napi::Error::New(env, "Expected an Number as 1 argument");
  if (!info[2].IsFunction()) throw Napi::Error::New(env, "Expected an Function as 2 argument");
}

void requireOpenModel(Napi::Env env, const Environment& environment) {
  const uint32_t openedBy = processModel().openedBy;
  const bool prepared = openedBy == 0 || openedBy == environment.id;
  if (processModel().model.isCleared() || !prepared) {
    throw refusal(env, codes::closed,
                  "No model is open: the last one was freed. Call InitAnalyseSlice first.");
  }
}

void requireWholeSlice(Napi::Env env, Napi::ArrayBuffer slice) {
  if (slice.IsDetached()) {
    throw refusal(env, codes::slice,
                  "The slice's ArrayBuffer is detached, its memory was transferred; " +
                      sliceNeed() + ". Pass the buffer before it is transferred, or a copy of it.");
  }
  if (slice.ByteLength() < sliceBytes()) {
    throw refusal(env, codes::slice,
                  "The slice's ArrayBuffer holds " + std::to_string(slice.ByteLength()) +
                      " bytes, but " + sliceNeed() +
                      ", 4 for each. Pass the whole image, or call InitAnalyseSlice with its width "
                      "and height.");
  }
}

}  // namespace

Napi::Value AnalyseSlice(const Napi::CallbackInfo& info) {
  const Napi::Env env = info.Env();
  checkArguments(info);
  auto slice = info[0].As<Napi::ArrayBuffer>();
  const auto layerIndex = static_cast<uint16_t>(info[1].As<Napi::Number>().Uint32Value());

  const std::shared_ptr<Environment>& environment = Environment::of(env);
  AnalysisClaim claim(env, *environment);
  requireOpenModel(env, *environment);
  requireWholeSlice(env, slice);
  std::unique_ptr<Job> job;
  try {
    job = std::make_unique<SliceWorker>(info[2].As<Napi::Function>(), environment, layerIndex,
                                        static_cast<const uint8_t*>(slice.Data()));
  } catch (const std::bad_alloc&) {
    throw refusal(
        env, codes::memory,
        "Not enough memory to take the slice in: " + sliceNeed() +
            (processModel().parameters.needBuffer ? ", and 9 for each pixel for the result."
                                                  : "."));
  }
  environment->jobs.add(std::move(job));
  claim.keep();
  return env.Undefined();
}

}  // namespace stiltforge
