#include "hold/stepped_overhang.h"

#include <algorithm>
#include <cmath>

namespace stiltforge::hold {

namespace {

// mm; or of a pixel, if that is more.
constexpr double stepHeight = 0.05;

uint32_t layersOf(const SurveySettings& settings) {
  const double height = std::max(stepHeight, settings.pixelSize);
  return static_cast<uint32_t>(std::clamp(std::round(height / settings.layerHeight), 1.0, 65535.0));
}

}  // namespace

SteppedOverhang::SteppedOverhang(const SurveySettings& settings)
    : layers_(layersOf(settings)),
      steps_(layers_, settings.overhangReach(layers_ * settings.layerHeight)),
      cells_(settings.scale(), settings.sampleSize) {}

void SteppedOverhang::add(const RunRows& material, const RunRows& below, const RunRows& beyond,
                          uint32_t layer) {
  if (layers_ == 1) {
    cells_.add(beyond, layer);
  } else {
    steps_.add(material, below, rows_);
    cells_.add(rows_, layer);
  }
}

}  // namespace stiltforge::hold
