#pragma once

#include <cstdint>
#include <vector>

#include "analysis/layer.h"
#include "node_api/value_maker.h"

namespace stiltforge {

/// What a host is told of an analysed layer, apart from the layer: that goes on to serve the next.
struct LayerResult {
  struct Region {
    uint32_t numPixel = 0;
    uint32_t supportedPixel = 0;
    uint32_t supportCount = 0;
    Box box;
  };

  uint16_t width = 0;
  uint16_t height = 0;
  uint32_t pixelCount = 0;
  uint32_t groupCount = 0;
  std::vector<Region> regions;  ///< without the placeholder
  std::vector<Voxel> supports;  ///< of all regions, in their order
};

/// Of a layer that is not archived.
LayerResult resultOf(const Layer& layer);

/// Turns results into the host's objects: { width, height, pixelCount, groupCount, groups }, each
/// group with its counts, its bounding box and its supports. One for several results makes their
/// keys once.
class LayerConverter {
 public:
  explicit LayerConverter(ValueMaker& make);
  napi_value convert(const LayerResult& layer) const;

 private:
  napi_value convert(const LayerResult::Region& region, const Voxel* supports) const;
  napi_value convert(const Voxel& support) const;
  void set(napi_value object, napi_value key, uint32_t value) const;

  ValueMaker& make_;
  napi_value width_, height_, pixelCount_, groupCount_, groups_;
  napi_value numPixel_, supportedPixel_, supports_, xMin_, yMin_, xMax_, yMax_;
  napi_value x_, y_, z_, isMinima_;
};

}  // namespace stiltforge
