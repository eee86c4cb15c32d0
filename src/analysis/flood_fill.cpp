#include "analysis/flood_fill.h"

#include <algorithm>

#include "analysis/fill_order.h"
#include "analysis/group_counts.h"
#include "analysis/layer_overlap.h"
#include "analysis/run_extraction.h"
#include "analysis/run_labelling.h"
#include "runtime/worker_pool.h"

namespace stiltforge {

namespace {

constexpr uint32_t labelMask = 0xFFFFFF;
constexpr uint32_t labelledPixel = 0x80000000;
constexpr uint32_t topMarker = 0xFE000000;
constexpr uint32_t rowsPerTask = 64;

void writeBuffers(Layer& layer, Plane<uint32_t>& topPixelBuffer, uint32_t layerIndex) {
  const uint32_t marker = topMarker + (layerIndex & labelMask);
  const std::size_t tasks = (layer.height + rowsPerTask - 1) / rowsPerTask;
  workers::parallelFor(tasks, [&](std::size_t t) {
    const uint32_t endRow =
        std::min<uint32_t>(layer.height, (static_cast<uint32_t>(t) + 1) * rowsPerTask);
    for (uint32_t y = static_cast<uint32_t>(t) * rowsPerTask; y < endRow; ++y) {
      const std::size_t base = std::size_t{y} * layer.width;
      for (uint32_t r = layer.rowRuns[y]; r < layer.rowRuns[y + 1]; ++r) {
        const SolidRun& run = layer.runs[r];
        const uint32_t label = labelledPixel + (run.group & labelMask);
        std::fill(layer.pixelBuffer.data() + base + run.begin,
                  layer.pixelBuffer.data() + base + run.end, label);
        std::fill(topPixelBuffer.data() + base + run.begin, topPixelBuffer.data() + base + run.end,
                  marker);
      }
    }
  });
}

// The pixel index behind the last material, 0 without any.
std::size_t materialEnd(const Layer& layer) {
  if (layer.runs.empty()) return 0;
  std::size_t y = layer.height - std::size_t{1};
  while (layer.rowRuns[y] == layer.runs.size()) --y;
  return y * layer.width + layer.runs.back().end;
}

void strengthenFirstLayer(Layer& layer) {
  for (uint32_t id = 1; id <= layer.groupCount; ++id) {
    layer.groups[id].pixelStrength = 1.0f;
    layer.groups[id].strength = static_cast<float>(layer.groups[id].numPixel);
  }
}

}  // namespace

void FloodFill::run() {
  const std::size_t pixels = std::size_t{layer->width} * layer->height;
  if (layer->supportedPixels.size() != pixels) layer->supportedPixels = Plane<uint8_t>(pixels);
  if (layer->strokePixels.size() != pixels) layer->strokePixels = Plane<uint8_t>(pixels);

  extractRuns(*layer, needBuffer);
  if (materialEnd(*layer) > topPixelCount) requireMarkers(*layer, topPixelCount);
  layer->groupCount = labelRuns(*layer);
  countGroups(*layer);
  if (previousLayer) {
    relateToLayerBelow(*layer, *previousLayer);
  } else {
    strengthenFirstLayer(*layer);
  }
  if (needBuffer) writeBuffers(*layer, *topPixelBuffer, layerIndex);
}

}  // namespace stiltforge
