#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "core/drawing.h"
#include "hold/survey.h"

namespace stiltforge::hold {

// A point with its layer.
struct LayerPoint {
  uint32_t layer = 0;
  SupportPoint point;
};

// A part as its slices, bottom first, and points in any order.
struct Part {
  std::vector<Slice> slices;
  std::vector<LayerPoint> points;

  // '#' hangs over, '+' is supported.
  void addLayer(const Rows& rows) {
    Picture picture = draw(rows);
    std::size_t i = 0;
    for (const std::string& row : rows) {
      for (const char c : row) {
        if (c == '+') picture.pixels[i] = materialPixel(255);
        ++i;
      }
    }
    slices.push_back(sliceOf(picture));
  }
  void addLayers(std::size_t count, const Rows& rows) {
    for (std::size_t i = 0; i < count; ++i) addLayer(rows);
  }
  void addPoint(uint32_t layer, int x, int y) {
    points.push_back({layer, {static_cast<uint16_t>(x), static_cast<uint16_t>(y), false}});
  }

  Survey survey(const SurveySettings& settings) const {
    Survey result(settings);
    for (uint32_t layer = 0; layer < slices.size(); ++layer) {
      result.add(slices[layer]);
      for (const LayerPoint& p : points) {
        if (p.layer == layer) result.addPoints(slices[layer], {&p.point, 1});
      }
    }
    result.finish();
    return result;
  }
};

// Pixels and layers of a millimetre, so that a test counts in them; one pixel of a step of four
// layers carries itself.
inline SurveySettings unitSettings() {
  SurveySettings settings;
  settings.pixelSize = 1;
  settings.layerHeight = 1;
  settings.minimumHeight = 2;
  settings.tipRadius = 0;
  settings.steepness = 0.25;
  settings.sampleSize = 1;
  return settings;
}

}  // namespace stiltforge::hold
