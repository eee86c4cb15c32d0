#include "capi/layer.h"

#include <cstddef>

#include "capi/lists.h"

namespace stiltforge::capi {

stiltforge_support toSupport(const Voxel& voxel, uint32_t group) {
  return {voxel.z - 1u, group, voxel.x, voxel.y, voxel.isMinima ? 1u : 0u};
}

stiltforge_weight toWeight(const hold::RegionRecord& record) {
  return {record.layer,       record.region,      record.pixels,        record.resting,
          record.overhanging, record.layersBelow, record.supportsBelow, record.supports,
          record.fromBelow,   record.owed};
}

std::unique_ptr<stiltforge_layer> layerResult(const Layer& layer, uint32_t index) {
  auto result = std::make_unique<stiltforge_layer>();
  result->index = index;
  result->pixels = layer.pixelCount;
  result->groups.reserve(layer.groupCount);
  result->weights.reserve(layer.groupCount);
  for (std::size_t i = 1; i < layer.groups.size(); ++i) {
    const Group& group = layer.groups[i];
    const auto first = static_cast<uint32_t>(result->supports.size());
    if (group.placement) {
      for (const Voxel& voxel : group.placement->supports) {
        result->supports.push_back(toSupport(voxel, static_cast<uint32_t>(i)));
      }
    }
    const auto count = static_cast<uint32_t>(result->supports.size()) - first;
    hold::RegionRecord record = hold::recordOf(group, static_cast<uint32_t>(i));
    record.layer = index;
    result->weights.push_back(toWeight(record));
    result->groups.push_back({group.numPixel, group.supportedPixel, group.xMin, group.yMin,
                              group.xMax, group.yMax, first, count});
  }
  return result;
}

}  // namespace stiltforge::capi

namespace capi = stiltforge::capi;

uint32_t stiltforge_layer_index(const stiltforge_layer* layer) {
  return capi::checked(layer) ? layer->index : 0;
}

uint32_t stiltforge_layer_pixels(const stiltforge_layer* layer) {
  return capi::checked(layer) ? layer->pixels : 0;
}

const stiltforge_group* stiltforge_layer_groups(const stiltforge_layer* layer, size_t* count) {
  return capi::listOf(layer, &stiltforge_layer::groups, count);
}

const stiltforge_support* stiltforge_layer_supports(const stiltforge_layer* layer, size_t* count) {
  return capi::listOf(layer, &stiltforge_layer::supports, count);
}

const stiltforge_weight* stiltforge_layer_weights(const stiltforge_layer* layer, size_t* count) {
  return capi::listOf(layer, &stiltforge_layer::weights, count);
}

void stiltforge_layer_destroy(stiltforge_layer* layer) {
  capi::destroy(layer);
}
