#include "capi/survey_behind.h"

#include <cstddef>
#include <memory>
#include <string>
#include <system_error>
#include <utility>

#include "capi/refusal.h"
#include "capi/survey_step.h"

namespace stiltforge::capi {

namespace {

// Enough that starting a thread costs nothing beside it.
constexpr std::size_t layersAtOnce = 32;

}  // namespace

void SurveyBehind::requireLayers(uint32_t count) const {
  requireGoingOn(survey_);
  if (survey_.layerCount == count) return;
  throw InvalidArgument("survey has " + std::to_string(survey_.layerCount) +
                        " layers and the model " + std::to_string(count) +
                        "; both must have the same");
}

void SurveyBehind::add(hold::SurveyedLayer layer) {
  batch_.push_back(std::move(layer));
  if (batch_.size() == layersAtOnce) addBatch();
}

void SurveyBehind::finish() {
  addBatch();
  wait();
}

void SurveyBehind::tryToFinish() noexcept {
  try {
    finish();
  } catch (...) {
    survey_.isStopped = true;
  }
}

void SurveyBehind::wait() {
  if (added_.valid()) added_.get();
}

void SurveyBehind::addBatch() {
  wait();
  const auto layers =
      std::make_shared<const std::vector<hold::SurveyedLayer>>(std::exchange(batch_, {}));
  const auto addAll = [&survey = survey_, layers] {
    for (const hold::SurveyedLayer& layer : *layers) addLayer(survey, layer.slice, layer.findings);
  };
  try {
    added_ = std::async(std::launch::async, addAll);
  } catch (const std::system_error&) {
    // No thread is to be had.
    addAll();
  }
}

}  // namespace stiltforge::capi
