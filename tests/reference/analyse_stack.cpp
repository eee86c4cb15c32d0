#include "reference/analyse_stack.h"

#include <map>

#include "reference/flood_fill.h"
#include "reference/group_handler.h"
#include "reference/support_inheritance.h"

namespace stiltforge::reference {
namespace {

using SupportOrigins = std::map<const Voxel*, GhostResult>;

GroupResult groupResult(const Group& group, const SupportOrigins& origins) {
  GroupResult result{group, {}, {}, groupBitmaps(group)};
  for (const auto& support : group.supports) {
    result.supports.push_back(
        {support->index, support->x, support->y, support->z, support->isMinima, support->score});
  }
  for (const Voxel* ghost : group.ghostSupports) result.ghostSupports.push_back(origins.at(ghost));
  return result;
}

void rememberSupports(const Layer& layer, uint32_t layerIndex, SupportOrigins& origins) {
  for (const auto& group : layer.groups) {
    for (uint32_t i = 0; i < group->supports.size(); ++i) {
      origins[group->supports[i].get()] = {layerIndex, group->id, i};
    }
  }
}

}  // namespace

std::vector<SliceResult> analyseStack(const Stack& stack) {
  const Parameters parameters = parametersFrom(stack.parameters);
  const GhostSpread ghostSpread = createGhostSpread(parameters.ghostRadius);
  std::vector<uint32_t> topPixelBuffer(size_t{stack.width} * stack.height, 0);
  std::vector<Layer> layers;
  SupportOrigins origins;
  std::vector<SliceResult> results;

  for (const auto& slice : stack.slices) {
    layers.push_back(
        floodFill(slice, stack.width, stack.height, parameters, layers, topPixelBuffer));
    Layer& layer = layers.back();
    if (layers.size() >= 2) {
      for (size_t i = 1; i < layer.groups.size(); ++i) {
        inheritSupports(*layer.groups[i], layers[layers.size() - 2], parameters.maxGhost);
      }
    }
    SliceResult result;
    if (parameters.addSupport) result.supportCount = supportLayer(layers, parameters, ghostSpread);
    rememberSupports(layer, static_cast<uint32_t>(results.size()), origins);

    result.width = layer.width;
    result.height = layer.height;
    result.pixelCount = layer.pixelCount;
    result.groupCount = layer.groupCount;
    for (size_t i = 1; i < layer.groups.size(); ++i) {
      result.groups.push_back(groupResult(*layer.groups[i], origins));
    }
    result.pixelBuffer = layer.pixelBuffer;
    result.topPixelBuffer = topPixelBuffer;
    result.supportedPixels = layer.supportedPixels;
    results.push_back(std::move(result));
  }
  return results;
}

}  // namespace stiltforge::reference
