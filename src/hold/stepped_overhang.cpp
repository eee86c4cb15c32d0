#include "hold/stepped_overhang.h"

#include <algorithm>
#include <cmath>

namespace stiltforge::hold {

namespace {

// Overhang lies one and a half pixels of 0.05 mm beyond a layer of 0.05 mm; at other sizes what has
// the same slope in a step of that height counts, or of a pixel's, if that is more.
constexpr double stepHeight = 0.05;
constexpr double leastPixelsBeyond = 1.5;

uint32_t layersOf(const SurveySettings& settings) {
  const double height = std::max(stepHeight, settings.pixelSize);
  return static_cast<uint32_t>(std::clamp(std::round(height / settings.layerHeight), 1.0, 65535.0));
}

double reachOf(const SurveySettings& settings) {
  const double height = layersOf(settings) * settings.layerHeight;
  return std::clamp(leastPixelsBeyond * height / settings.pixelSize, leastPixelsBeyond, 65535.0);
}

}  // namespace

SteppedOverhang::SteppedOverhang(const SurveySettings& settings)
    : layers_(layersOf(settings)),
      reach_(reachOf(settings)),
      steps_(layers_, reach_),
      beyond_(reach_),
      cells_(settings.scale(), settings.sampleSize) {}

void SteppedOverhang::add(const RunRows& material, const RunRows& below, const RunRows& beyond,
                          uint32_t layer) {
  // What lies beyond a single layer has all that a step of one layer has.
  const bool isWhole = layers_ == 1 && reach_ == leastPixelsBeyond;
  if (layers_ > 1) {
    steps_.add(material, below, rows_);
  } else if (!isWhole) {
    keepBeyondStep(beyond, below);
  }
  cells_.add(isWhole ? beyond : rows_, layer);
}

void SteppedOverhang::keepBeyondStep(const RunRows& beyond, const RunRows& below) {
  rows_.clear();
  const RowRange rows = beyond.occupiedRows();
  rows_.endRows(rows.begin);
  for (int y = rows.begin; y < rows.end; ++y) {
    for (const Run& run : beyond.row(y)) beyond_.find(run, y, below, rows_);
    rows_.endRow();
  }
}

}  // namespace stiltforge::hold
