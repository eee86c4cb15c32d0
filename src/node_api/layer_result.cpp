#include "node_api/layer_result.h"

namespace stiltforge {

LayerResult resultOf(const Layer& layer) {
  LayerResult result;
  result.width = layer.width;
  result.height = layer.height;
  result.pixelCount = layer.pixelCount;
  result.groupCount = layer.groupCount;
  if (layer.groups.empty()) return result;
  result.regions.reserve(layer.groups.size() - 1);
  for (std::size_t i = 1; i < layer.groups.size(); ++i) {
    const Group& group = layer.groups[i];
    uint32_t supports = 0;
    if (group.placement) {
      const std::vector<Voxel>& placed = group.placement->supports;
      supports = static_cast<uint32_t>(placed.size());
      result.supports.insert(result.supports.end(), placed.begin(), placed.end());
    }
    result.regions.push_back({group.numPixel, group.supportedPixel, supports, group.box()});
  }
  return result;
}

LayerConverter::LayerConverter(ValueMaker& make)
    : make_(make),
      width_(make.string("width")),
      height_(make.string("height")),
      pixelCount_(make.string("pixelCount")),
      groupCount_(make.string("groupCount")),
      groups_(make.string("groups")),
      numPixel_(make.string("numPixel")),
      supportedPixel_(make.string("supportedPixel")),
      supports_(make.string("supports")),
      xMin_(make.string("xMin")),
      yMin_(make.string("yMin")),
      xMax_(make.string("xMax")),
      yMax_(make.string("yMax")),
      x_(make.string("x")),
      y_(make.string("y")),
      z_(make.string("z")),
      isMinima_(make.string("isMinima")) {}

napi_value LayerConverter::convert(const LayerResult& layer) const {
  napi_value object = make_.object();
  napi_value groups = make_.array(layer.regions.size());
  const Voxel* supports = layer.supports.data();
  for (uint32_t i = 0; i < layer.regions.size() && make_.status() == napi_ok; ++i) {
    const ValueScope scope(make_);
    make_.set(groups, i, convert(layer.regions[i], supports));
    supports += layer.regions[i].supportCount;
  }
  set(object, width_, layer.width);
  set(object, height_, layer.height);
  set(object, pixelCount_, layer.pixelCount);
  set(object, groupCount_, layer.groupCount);
  make_.set(object, groups_, groups);
  return object;
}

napi_value LayerConverter::convert(const LayerResult::Region& region, const Voxel* supports) const {
  napi_value object = make_.object();
  napi_value placed = make_.array(region.supportCount);
  for (uint32_t i = 0; i < region.supportCount; ++i) {
    const ValueScope scope(make_);
    make_.set(placed, i, convert(supports[i]));
  }
  set(object, numPixel_, region.numPixel);
  set(object, supportedPixel_, region.supportedPixel);
  make_.set(object, supports_, placed);
  set(object, xMin_, region.box.xMin);
  set(object, yMin_, region.box.yMin);
  set(object, xMax_, region.box.xMax);
  set(object, yMax_, region.box.yMax);
  return object;
}

napi_value LayerConverter::convert(const Voxel& support) const {
  napi_value object = make_.object();
  set(object, x_, support.x);
  set(object, y_, support.y);
  set(object, z_, support.z);
  make_.set(object, isMinima_, make_.boolean(support.isMinima));
  return object;
}

void LayerConverter::set(napi_value object, napi_value key, uint32_t value) const {
  make_.set(object, key, make_.number(value));
}

}  // namespace stiltforge
