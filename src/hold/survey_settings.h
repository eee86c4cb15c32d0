#pragma once

#include <cstdint>
#include <optional>

#include "hold/scale.h"

namespace stiltforge::hold {

struct SurveySettings {
  double pixelSize = 0;                    ///< mm
  double layerHeight = 0;                  ///< mm
  std::optional<double> firstLayerHeight;  ///< mm; as the others unless set
  double minimumHeight = 0.2;  ///< mm from the plate or the part to a place where a support fits
  double tipRadius = 0.2;      ///< mm around a point within which it must find an overhang
  /// mm that a surface grows outwards for each mm upwards from which on it is sampled: a little
  /// more than what just carries itself, 1 / tan(critical angle).
  double steepness = 1.1;
  /// mm, height of the steps in which that is measured; they are never lower than four pixels.
  double sampleHeight = 0.2;
  double sampleSize = 0.5;  ///< mm, side of the cells of samples

  /// Pixels: material further than that from what lies a step of so many mm below it overhangs.
  /// Half as much again as the step is high, which is a slope of 34 degrees from level, and at
  /// least 1.5 pixels, a neighbour's corner.
  double overhangReach(double stepHeight) const;
  Scale scale() const { return {pixelSize, layerHeight}; }
  /// Layers of empty space that a support needs below its point, above the part and the plate.
  uint32_t roomLayers() const;
  uint32_t roomLayersOnPlate() const;
};

/// Throws std::invalid_argument unless pixel, layers and cells are above 0 and the lengths not
/// negative, and none is beyond what layers and columns are counted in.
void requireValid(const SurveySettings& settings);

}  // namespace stiltforge::hold
