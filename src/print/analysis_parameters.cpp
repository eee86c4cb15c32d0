#include "print/analysis_parameters.h"

#include <algorithm>
#include <cmath>

#include "print/rounding.h"

namespace stiltforge {

namespace {

constexpr double largestGhostRadius = 4096;  // pixels

}  // namespace

std::vector<ParameterValue> analysisParameters(const PrintSettings& print, uint32_t width,
                                               uint32_t height, uint32_t layers) {
  const auto pixels = [&](double millimetres) { return millimetres / print.pixelSize; };
  const auto pixelArea = [&](double squareMillimetres) {
    return roundedHalfUp(squareMillimetres / (print.pixelSize * print.pixelSize));
  };
  const auto layersIn = [&](double millimetres) {
    return roundedHalfUp(millimetres / print.layerHeight);
  };
  const double spacing = std::sqrt(print.supportArea);
  return {
      {"width", static_cast<double>(width)},
      {"height", static_cast<double>(height)},
      {"numLayer", static_cast<double>(layers)},
      {"needBuffer", 0},
      {"addSupport", 1},
      {"supportStrength", std::max(1.0, pixelArea(print.supportArea))},
      {"growthStrength", 1000},
      {"strengthTransmited", 1},
      {"firstSupportMinStrength", 1.3},
      {"numberOfSamplePerSupport", 100},
      {"numberOfSamplePerVoronoi", std::max(4.0, pixelArea(1))},
      {"ghostPart", 1},
      {"strokePart", 0.3},
      {"anglePart", 1},
      {"maxSupportRadiusInIsland", pixels(0.8 * spacing)},
      {"islandSupportMultiplier", 1},
      {"islandStrengthSupport", 1},
      {"strengthOfPlatePixel", 1},
      {"maxZGhost", layersIn(10)},
      {"maxGhost", 10000},
      {"ghostRadius", std::min(largestGhostRadius, roundedHalfUp(pixels(0.8 * spacing)))},
      {"maxVoronoiIteration", 20},
      {"validationDistanceFormVoronoi", std::max(1.0, pixels(0.1))},
      {"distCloseToIsland", std::max(1.0, layersIn(0.1))},
      {"closeToIslandStrengthTransmited", 1.2},
      {"almostNotBlueCounterLimit", 0},
      {"islandMinBlue", 0},
      {"maxGhostValueToPlaceSupport", 0},
  };
}

ModelParameters modelParameters(const PrintSettings& print, uint32_t width, uint32_t height,
                                uint32_t layers) {
  ModelParameters parameters;
  for (const auto& [name, value] : analysisParameters(print, width, height, layers)) {
    storeParameter(parameters, *findParameter(name), value);
  }
  return parameters;
}

}  // namespace stiltforge
