#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "capi/boundary.h"
#include "capi/cancel_token.h"
#include "capi/handles.h"
#include "capi/layer.h"
#include "capi/model_step.h"
#include "capi/slices_ahead.h"
#include "capi/survey_behind.h"
#include "capi/survey_step.h"

namespace stiltforge::capi {

namespace {

struct MeshRun {
  uint32_t count = 0;
  const stiltforge_cancel_token* cancel = nullptr;
  stiltforge_layer_callback onLayer = nullptr;
  void* context = nullptr;
};

// Whether the host wants to go on.
bool tellHost(const MeshRun& run, const stiltforge_layer& layer, const DefaultFloats& floats) {
  const HostFloats restored(floats);
  return run.onLayer(run.context, &layer) == 0;
}

// The model's next layers. behind: null without a survey. Between layers the host may use the
// model.
void analyseLayers(stiltforge_model* model, stiltforge_slicer& slicer, const MeshRun& run,
                   SurveyBehind* behind, const DefaultFloats& floats) {
  Model::SliceOptions options;
  options.cancelled = flagOf(run.cancel);
  const uint32_t layers = slicer.slicer.layerCount();
  uint32_t first = 0;
  {
    const Writing analysed(model, "model");
    requireGoingOn(*analysed);
    const auto& placement = slicer.slicer.placement();
    requireModelSize(*analysed, static_cast<uint32_t>(placement.width),
                     static_cast<uint32_t>(placement.height), "slicer");
    if (behind) behind->requireLayers(analysed->layerCount);
    first = std::min<uint32_t>(analysed->layerCount, layers);
  }
  const uint32_t end = first + std::min(run.count, layers - first);

  SlicesAhead slices(slicer.slicer, first, end);
  for (uint32_t index = first; index < end; ++index) {
    Slice slice = slices.next();
    hold::SurveyedLayer surveyed;
    if (behind) surveyed.slice = slice;
    std::unique_ptr<stiltforge_layer> result;
    {
      const Writing analysed(model, "model");
      if (analysed->layerCount != index) {
        throw InvalidArgument("on_layer gave the model slices of its own");
      }
      analyse(*analysed, std::move(slice), options, [&](const Layer& done) {
        if (run.onLayer) result = layerResult(done, index);
        if (behind) surveyed.findings = hold::findingsOf(done);
      });
    }
    if (behind) behind->add(std::move(surveyed));
    if (!run.onLayer || tellHost(run, *result, floats)) continue;
    throw Refusal(STILTFORGE_CANCELLED, "ended by its callback");
  }
}

}  // namespace

}  // namespace stiltforge::capi

namespace capi = stiltforge::capi;

stiltforge_status stiltforge_model_analyse_mesh(stiltforge_model* model, stiltforge_slicer* slicer,
                                                uint32_t count, stiltforge_cancel_token* cancel,
                                                stiltforge_layer_callback on_layer, void* context,
                                                stiltforge_error* error) {
  return capi::guarded(__func__, error, [&](const capi::DefaultFloats& floats) {
    const capi::WorkerUse workers;
    const capi::Keeping kept(model, "model");
    const capi::Writing cutter(slicer, "slicer");
    capi::analyseLayers(model, *cutter, {count, cancel, on_layer, context}, nullptr, floats);
  });
}

stiltforge_status stiltforge_model_survey_mesh(stiltforge_model* model, stiltforge_slicer* slicer,
                                               stiltforge_survey* survey, uint32_t count,
                                               stiltforge_cancel_token* cancel,
                                               stiltforge_layer_callback on_layer, void* context,
                                               stiltforge_error* error) {
  return capi::guarded(__func__, error, [&](const capi::DefaultFloats& floats) {
    const capi::WorkerUse workers;
    const capi::Keeping kept(model, "model");
    const capi::Writing cutter(slicer, "slicer");
    const capi::Writing surveyed(survey, "survey");
    capi::requireSamePrint(*surveyed, cutter->print);
    capi::SurveyBehind behind(*surveyed);
    try {
      capi::analyseLayers(model, *cutter, {count, cancel, on_layer, context}, &behind, floats);
    } catch (...) {
      behind.tryToFinish();
      throw;
    }
    behind.finish();
  });
}
