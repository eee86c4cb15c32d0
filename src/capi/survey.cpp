#include <atomic>
#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "capi/boundary.h"
#include "capi/handles.h"
#include "capi/print_settings.h"
#include "capi/survey_step.h"
#include "print/hold_settings.h"

namespace capi = stiltforge::capi;

namespace {

constexpr uint32_t largestCoordinate = 65535;

uint64_t nextNumber() {
  static std::atomic<uint64_t> last{0};
  return ++last;
}

std::vector<stiltforge::hold::SupportPoint> readSupports(const stiltforge_support* supports,
                                                         std::size_t count, uint32_t layer) {
  if (count > 0) capi::requireArgument(supports, "supports");
  std::vector<stiltforge::hold::SupportPoint> points;
  for (std::size_t i = 0; i < count; ++i) {
    const stiltforge_support& support = supports[i];
    const std::string name = "supports[" + std::to_string(i) + "].";
    capi::requireRange(support.layer, (name + "layer").c_str(), layer, layer);
    capi::requireRange(support.x, (name + "x").c_str(), 0, largestCoordinate);
    capi::requireRange(support.y, (name + "y").c_str(), 0, largestCoordinate);
    points.push_back(
        {static_cast<uint16_t>(support.x), static_cast<uint16_t>(support.y), support.island != 0});
  }
  return points;
}

}  // namespace

stiltforge_survey::stiltforge_survey(const stiltforge::PrintSettings& settings)
    : Handle(kind),
      print(settings),
      number(nextNumber()),
      part(stiltforge::surveySettings(settings)) {}

stiltforge_status stiltforge_survey_create(const stiltforge_print_settings* print,
                                           stiltforge_survey** survey, stiltforge_error* error) {
  return capi::guardedCreation(__func__, survey, "survey", error, [&] {
    const stiltforge::PrintSettings settings = capi::readPrintSettings(print, "print");
    try {
      return std::make_unique<stiltforge_survey>(settings);
    } catch (const std::invalid_argument& unusable) {
      throw capi::InvalidArgument(std::string("print cannot be surveyed: ") + unusable.what());
    }
  });
}

stiltforge_status stiltforge_survey_add(stiltforge_survey* survey, const stiltforge_slice* slice,
                                        const stiltforge_support* supports, size_t count,
                                        stiltforge_error* error) {
  return capi::guarded(__func__, error, [&] {
    const capi::WorkerUse workers;
    const capi::Writing surveyed(survey, "survey");
    const capi::Reading read(slice, "slice");
    stiltforge::hold::LayerFindings findings;
    findings.points = readSupports(supports, count, surveyed->layerCount);
    capi::addLayer(*surveyed, read->slice, findings);
  });
}

stiltforge_status stiltforge_survey_add_layer(stiltforge_survey* survey,
                                              const stiltforge_slice* slice,
                                              const stiltforge_layer* layer,
                                              stiltforge_error* error) {
  return capi::guarded(__func__, error, [&] {
    const capi::WorkerUse workers;
    const capi::Writing surveyed(survey, "survey");
    const capi::Reading read(slice, "slice");
    capi::requireHandle(layer, "layer");
    const stiltforge::RunRows& material = read->slice.material;
    const bool isOfSlice = layer->findings.groupOfRun.size() == material.runCount() &&
                           layer->pixels == material.pixelCount();
    if (!isOfSlice) {
      throw capi::InvalidArgument("layer is not what stiltforge_model_analyse() made of the slice");
    }
    const uint32_t expected = surveyed->layerCount;
    if (layer->index != expected) {
      throw capi::InvalidArgument("layer has the number " + std::to_string(layer->index) +
                                  "; the survey's next one is " + std::to_string(expected));
    }
    capi::addLayer(*surveyed, read->slice, layer->findings);
  });
}

uint32_t stiltforge_survey_layer_count(const stiltforge_survey* survey) {
  return survey && survey->isOf(stiltforge_survey::kind) ? survey->layerCount.load() : 0;
}

void stiltforge_survey_destroy(stiltforge_survey* survey) {
  capi::destroy(survey);
}
