#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "hold/place.h"

namespace stiltforge::hold {

/// The sizes of pixels and layers, mm; what they make of lengths and areas is the same on every
/// platform.
struct Scale {
  double pixelSize = 0;
  double layerHeight = 0;

  /// Between the centres of the pixels, mm2.
  double squaredDistance(const Place& a, const Place& b) const {
    return squared(int64_t{a.x} - b.x, int64_t{a.y} - b.y, int64_t{a.layer} - b.layer);
  }
  double squared(int64_t columns, int64_t rows, int64_t layers) const {
    return static_cast<double>(columns * columns + rows * rows) * pixelArea() +
           static_cast<double>(layers * layers) * (layerHeight * layerHeight);
  }

  double pixelArea() const { return pixelSize * pixelSize; }
  /// As many pixels as cover so many mm2; 0 for no number.
  uint64_t pixelsFor(double area) const {
    return static_cast<uint64_t>(std::min(std::max(0.0, std::ceil(area / pixelArea())), 1e18));
  }
  /// As many layers as fit into so many mm, 0 or more; 65535 at most.
  uint32_t layersWithin(double height) const {
    // What differs from a whole number only by rounding counts as that number.
    constexpr double roundingSlack = 1e-9;
    const double layers = std::floor(height / layerHeight + roundingSlack);
    return static_cast<uint32_t>(std::min(layers, 65535.0));
  }
};

}  // namespace stiltforge::hold
