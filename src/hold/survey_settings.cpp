#include "hold/survey_settings.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>

#include "runtime/number_text.h"

namespace stiltforge::hold {

namespace {

// Cells of 65535 columns are numbered by 31 bits.
constexpr double mostCellsPerPixel = 32768;

// Layers that reach so many mm.
uint32_t layersFor(double height, double layerHeight) {
  // A height that differs from a whole number of layers only by rounding counts as that number.
  constexpr double roundingSlack = 1e-9;
  return static_cast<uint32_t>(std::ceil(height / layerHeight - roundingSlack));
}

}  // namespace

uint32_t SurveySettings::roomLayers() const {
  return layersFor(minimumHeight, layerHeight);
}

uint32_t SurveySettings::roomLayersOnPlate() const {
  if (!firstLayerHeight || minimumHeight <= 0) return roomLayers();
  return 1 + layersFor(std::max(minimumHeight - *firstLayerHeight, 0.0), layerHeight);
}

double SurveySettings::overhangReach(double stepHeight) const {
  constexpr double slope = 1.5;
  return std::clamp(slope * stepHeight / pixelSize, slope, 65535.0);
}

void requireValid(const SurveySettings& settings) {
  const auto require = [](bool holds, const char* what, double value, const char* unit) {
    if (!holds) throw std::invalid_argument(what + (", not " + numberText(value)) + unit);
  };
  require(std::isfinite(settings.pixelSize) && settings.pixelSize > 0,
          "the pixel size must be above 0 mm", settings.pixelSize, " mm");
  require(std::isfinite(settings.layerHeight) && settings.layerHeight > 0,
          "the layer height must be above 0 mm", settings.layerHeight, " mm");
  const double first = settings.firstLayerHeight.value_or(settings.layerHeight);
  require(std::isfinite(first) && first > 0, "the height of the first layer must be above 0 mm",
          first, " mm");
  require(settings.minimumHeight >= 0 && settings.minimumHeight <= 65535 * settings.layerHeight,
          "the minimum height must be between 0 and 65535 layers", settings.minimumHeight, " mm");
  require(settings.tipRadius >= 0 && settings.tipRadius <= 65535 * settings.pixelSize,
          "the tip's radius must be between 0 and 65535 pixels", settings.tipRadius, " mm");
  require(settings.sampleHeight >= 0 && settings.sampleHeight <= 65535 * settings.layerHeight,
          "the steps of samples must be between 0 and 65535 layers", settings.sampleHeight, " mm");
  require(settings.steepness >= 0, "the steepness must be 0 or more", settings.steepness, "");
  require(std::isfinite(settings.sampleSize) &&
              settings.sampleSize >= settings.pixelSize / mostCellsPerPixel,
          "the cells of samples must not be smaller than a fraction of a pixel",
          settings.sampleSize, " mm");
}

}  // namespace stiltforge::hold
