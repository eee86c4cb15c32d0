#include "analysis/flood_fill.h"

#include "analysis/fill_order.h"
#include "analysis/group_counts.h"
#include "analysis/layer_overlap.h"
#include "analysis/run_labelling.h"

namespace stiltforge {

namespace {

// The pixel index behind the last material, 0 without any.
std::size_t materialEnd(const Slice& slice) {
  const std::size_t runs = slice.material.runCount();
  if (runs == 0) return 0;
  std::size_t y = slice.height - std::size_t{1};
  while (slice.material.rowStart(y) == runs) --y;
  return y * slice.width + slice.material[runs - 1].end;
}

void strengthenFirstLayer(Layer& layer) {
  for (uint32_t id = 1; id <= layer.groupCount; ++id) {
    layer.groups[id].pixelStrength = 1.0f;
  }
}

}  // namespace

void FloodFill::run() {
  if (materialEnd(*layer) > markerCount) requireMarkers(*layer, markerCount);
  layer->groupCount = labelRuns(*layer);
  countGroups(*layer, *settings);
  if (previousLayer) {
    relateToLayerBelow(*layer, *previousLayer);
  } else {
    strengthenFirstLayer(*layer);
  }
}

}  // namespace stiltforge
