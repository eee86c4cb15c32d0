#include "binding/model_object.h"

#include <cmath>
#include <limits>
#include <new>
#include <span>
#include <string>
#include <utility>

#include "analysis/run_extraction.h"
#include "binding/analysis_jobs.h"
#include "binding/environment.h"
#include "binding/hold_jobs.h"
#include "binding/hold_options.h"
#include "binding/host_runs.h"
#include "binding/host_slices.h"
#include "binding/mask_slicer_object.h"
#include "binding/model_parameters.h"
#include "binding/slicer_calls.h"
#include "node_api/refusal.h"

namespace stiltforge::binding {

namespace {

std::vector<uint8_t> readMask(const SharedMaskSlicer& slicer, const Napi::Value& value) {
  try {
    return MaskSlicerObject::readMask(slicer, value);
  } catch (const Napi::Error& failure) {
    throw refusal(value.Env(), codes::slice, failure.Message());
  }
}

Napi::Error withoutMemory(Napi::Env env, const SliceSize& size, bool needBuffer) {
  return refusal(env, codes::memory,
                 "Not enough memory to take the slice in: a slice of " +
                     sizeText(size.width, size.height) + " needs " +
                     std::to_string(4 * size.pixels()) + " bytes" +
                     (needBuffer ? ", and 9 for each pixel for the result." : "."));
}

}  // namespace

Napi::Function ModelObject::define(Napi::Env env) {
  return DefineClass(
      env, "Model",
      {InstanceMethod("analysePixels", &ModelObject::analysePixels),
       InstanceMethod("analyseRuns", &ModelObject::analyseRuns),
       InstanceMethod("analyseMask", &ModelObject::analyseMask),
       InstanceMethod("analyseSlicer", &ModelObject::analyseSlicer),
       InstanceMethod("groupImages", &ModelObject::groupImages),
       InstanceMethod("owedPixels", &ModelObject::owedPixels),
       InstanceMethod("judge", &ModelObject::judge), InstanceMethod("finish", &ModelObject::finish),
       InstanceMethod("close", &ModelObject::close)});
}

ModelObject::ModelObject(const Napi::CallbackInfo& info) : Napi::ObjectWrap<ModelObject>(info) {
  const Napi::Env env = info.Env();
  const ModelParameters parameters = readParameters(info[0]);
  const SliceSize size{parameters.width, parameters.height};
  requireCountable(env, size);
  std::optional<hold::SurveySettings> survey;
  if (!info[1].IsUndefined()) survey = readSurveySettings(info[1]);
  Plane<uint32_t> markers;
  if (parameters.needBuffer) markers = reserveMarkers(env, size);
  reserveGhostSpread(env, parameters.settings.ghostRadius, [&] {
    model_ = std::make_shared<ModelInWork>(parameters, std::move(markers), survey);
  });
  model_->tellBytes(env, model_->bytes());
}

void ModelObject::Finalize(Napi::BasicEnv env) {
  if (model_) model_->forgetBytes(env);
}

void ModelObject::requireOpen(Napi::Env env) const {
  if (!isClosed_) return;
  throw refusal(env, codes::closed, "The model is closed. Create a new one.");
}

SliceSize ModelObject::size() const {
  return {model_->parameters().width, model_->parameters().height};
}

Napi::Promise ModelObject::queueSlice(const Napi::CallbackInfo& info, bool hasPicture,
                                      const std::function<Slice(uint8_t* copy)>& take) {
  const Napi::Env env = info.Env();
  const bool needBuffer = model_->parameters().needBuffer;
  try {
    std::optional<SliceResultBuffers> buffers;
    if (needBuffer) buffers.emplace(env, Environment::of(env).memory, size().pixels());
    Slice slice = take(buffers ? buffers->pixel.data() : nullptr);
    return Job::add(std::make_unique<SliceAnalysisJob>(env, model_, std::move(slice),
                                                       std::move(buffers), hasPicture),
                    queue_, info.This().As<Napi::Object>());
  } catch (const std::bad_alloc&) {
    throw withoutMemory(env, size(), needBuffer);
  }
}

Napi::Value ModelObject::analysePixels(const Napi::CallbackInfo& info) {
  const Napi::Env env = info.Env();
  requireOpen(env);
  return queueSlice(info, true, [&](uint8_t* copy) {
    const HostBytes pixels = pixelsOf(info[0], size());
    return sliceOfPixels(pixels.as<uint8_t>().data(), size().width, size().height, copy);
  });
}

Napi::Value ModelObject::analyseRuns(const Napi::CallbackInfo& info) {
  const Napi::Env env = info.Env();
  requireOpen(env);
  return queueSlice(info, false,
                    [&](uint8_t*) { return readRuns(info[0], size().width, size().height); });
}

Napi::Value ModelObject::analyseMask(const Napi::CallbackInfo& info) {
  const Napi::Env env = info.Env();
  requireOpen(env);
  std::shared_ptr<SharedMaskSlicer> slicer = MaskSlicerObject::slicerOf(info[0]);
  if (!slicer)
    throw refusal(env, codes::slice,
                  "The slicer of a mask must be a MaskSlicer of the same binary.");
  requireSameSize(env, slicer->width, slicer->height, size());
  const bool needBuffer = model_->parameters().needBuffer;
  try {
    std::vector<uint8_t> mask = readMask(*slicer, info[1]);
    std::optional<SliceResultBuffers> buffers;
    if (needBuffer) buffers.emplace(env, Environment::of(env).memory, size().pixels());
    return Job::add(std::make_unique<MaskAnalysisJob>(env, model_, std::move(slicer),
                                                      std::move(mask), std::move(buffers)),
                    queue_, info.This().As<Napi::Object>());
  } catch (const std::bad_alloc&) {
    throw withoutMemory(env, size(), needBuffer);
  }
}

Napi::Value ModelObject::analyseSlicer(const Napi::CallbackInfo& info) {
  const Napi::Env env = info.Env();
  requireOpen(env);
  const std::shared_ptr<SharedSlicer> slicer = sharedSlicerOf(info[0]);
  if (!slicer) {
    throw refusal(env, codes::slice,
                  "The layers must come from a Slicer or a LayerSlicer of the same binary.");
  }
  requireSameSize(env, slicer->slicer.width(), slicer->slicer.height(), size());
  const uint32_t layers = slicer->slicer.layerCount();
  const uint32_t first =
      wholeNumber(info[1], codes::index, "The first layer of the slicer", 0, layers - 1.0);
  const bool needBuffer = model_->parameters().needBuffer;
  uint32_t most = std::numeric_limits<uint32_t>::max();
  if (!info[2].IsUndefined()) {
    most = wholeNumber(info[2], codes::index, "The number of layers", 1, most);
  }
  try {
    std::optional<SliceResultBuffers> buffers;
    if (needBuffer) {
      most = 1;
      buffers.emplace(env, Environment::of(env).memory, size().pixels());
    }
    return Job::add(
        std::make_unique<SlicerAnalysisJob>(env, model_, slicer, first, most, std::move(buffers)),
        queue_, info.This().As<Napi::Object>());
  } catch (const std::bad_alloc&) {
    throw withoutMemory(env, size(), needBuffer);
  }
}

Napi::Value ModelObject::groupImages(const Napi::CallbackInfo& info) {
  const Napi::Env env = info.Env();
  requireOpen(env);
  constexpr double most = 4294967294.0;
  const uint32_t layer = wholeNumber(info[0], codes::index, "The layer index", 0, most);
  const uint32_t group = wholeNumber(info[1], codes::index, "The group index", 0, most);
  return Job::add(std::make_unique<GroupImagesJob>(env, model_, layer, group), queue_,
                  info.This().As<Napi::Object>());
}

Napi::Value ModelObject::owedPixels(const Napi::CallbackInfo& info) {
  const Napi::Env env = info.Env();
  requireOpen(env);
  return Job::add(std::make_unique<OwedPixelsJob>(env, model_), queue_,
                  info.This().As<Napi::Object>());
}

Napi::Value ModelObject::judge(const Napi::CallbackInfo& info) {
  const Napi::Env env = info.Env();
  auto job = std::make_unique<JudgeJob>(
      env, [model = model_]() -> hold::SurveyedPart& { return model->surveyed(); },
      readJudgeSettings(info[0]));
  // A getter of the options may have closed the model.
  requireOpen(env);
  return Job::add(std::move(job), queue_, info.This().As<Napi::Object>());
}

Napi::Value ModelObject::finish(const Napi::CallbackInfo& info) {
  const Napi::Env env = info.Env();
  auto job = std::make_unique<FinishJob>(
      env, [model = model_]() -> hold::SurveyedPart& { return model->surveyed(); },
      readFinishSettings(info[0]), readFinishJudgeSettings(info[0]), readCancelled(info[0]));
  requireOpen(env);
  return Job::add(std::move(job), queue_, info.This().As<Napi::Object>());
}

Napi::Value ModelObject::close(const Napi::CallbackInfo& info) {
  const Napi::Env env = info.Env();
  Napi::Promise closed =
      Job::add(std::make_unique<CloseJob>(env, model_), queue_, info.This().As<Napi::Object>());
  isClosed_ = true;
  return closed;
}

}  // namespace stiltforge::binding
