#include "analysis/flood_fill.h"

#include <algorithm>
#include <vector>

#include "analysis/fill_order.h"
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
constexpr std::size_t runsPerTask = std::size_t{1} << 14;

// Blue bytes b below 255 with limit > b are those below the answer.
uint8_t countedBelow(float limit) {
  int b = 0;
  while (b < 255 && limit > static_cast<float>(b)) ++b;
  return static_cast<uint8_t>(b);
}

struct BlueCounts {
  uint32_t unsupported = 0;
  uint32_t almostNotBlue = 0;
  uint32_t island = 0;
};

BlueCounts countBlue(const uint8_t* blue, std::size_t n, uint8_t almostLimit, uint8_t islandLimit) {
  BlueCounts total;
  // Byte counters, so that a vector holds as many of them as of pixels.
  constexpr std::size_t block = 255;
  for (std::size_t start = 0; start < n; start += block) {
    const std::size_t end = std::min(n, start + block);
    uint8_t unsupported = 0;
    uint8_t almost = 0;
    uint8_t island = 0;
    for (std::size_t i = start; i < end; ++i) {
      unsupported = static_cast<uint8_t>(unsupported + (blue[i] != 255));
      almost = static_cast<uint8_t>(almost + (blue[i] < almostLimit));
      island = static_cast<uint8_t>(island + (blue[i] < islandLimit));
    }
    total.unsupported += unsupported;
    total.almostNotBlue += almost;
    total.island += island;
  }
  return total;
}

// Widens the group by the run; bounds are stored inclusive until closeBoxes().
void addRun(Group& group, uint32_t y, const SolidRun& run, const BlueCounts& counts) {
  const auto row = static_cast<uint16_t>(y);
  const auto last = static_cast<uint16_t>(run.end - 1);
  if (group.numPixel == 0) {
    group.xMin = run.begin;
    group.yMin = row;
    group.xMax = last;
  }
  group.xMin = std::min(group.xMin, run.begin);
  group.xMax = std::max(group.xMax, last);
  group.yMax = row;
  group.numPixel += run.end - run.begin;
  group.unsupportedPixelCount += counts.unsupported;
  group.almostNotBlueCount += counts.almostNotBlue;
  group.islandBlueCount += counts.island;
}

void closeBox(Group& group) {
  group.spanX = static_cast<uint16_t>(group.xMax - group.xMin);
  group.spanY = static_cast<uint16_t>(group.yMax - group.yMin);
  ++group.xMax;
  ++group.yMax;
}

void buildGroups(Layer& layer) {
  layer.groups.resize(std::size_t{layer.groupCount} + 1);
  for (uint32_t id = 1; id <= layer.groupCount; ++id) layer.groups[id].id = id;

  const uint8_t almostLimit = countedBelow(FloodFill::almostNotBlueCounterLimit);
  const uint8_t islandLimit = countedBelow(FloodFill::islandMinBlue);
  std::vector<BlueCounts> counts(layer.runs.size());
  const std::size_t tasks = (layer.height + rowsPerTask - 1) / rowsPerTask;
  workers::parallelFor(tasks, [&](std::size_t t) {
    const uint32_t endRow =
        std::min<uint32_t>(layer.height, (static_cast<uint32_t>(t) + 1) * rowsPerTask);
    for (uint32_t y = static_cast<uint32_t>(t) * rowsPerTask; y < endRow; ++y) {
      const uint8_t* blue = layer.supportedPixels.data() + std::size_t{y} * layer.width;
      for (uint32_t r = layer.rowRuns[y]; r < layer.rowRuns[y + 1]; ++r) {
        const SolidRun& run = layer.runs[r];
        counts[r] = countBlue(blue + run.begin, run.end - run.begin, almostLimit, islandLimit);
      }
    }
  });

  for (uint32_t y = 0; y < layer.height; ++y) {
    for (uint32_t r = layer.rowRuns[y]; r < layer.rowRuns[y + 1]; ++r) {
      addRun(layer.groups[layer.runs[r].group], y, layer.runs[r], counts[r]);
    }
  }
  for (uint32_t id = 1; id <= layer.groupCount; ++id) {
    closeBox(layer.groups[id]);
    layer.pixelCount += layer.groups[id].numPixel;
  }
}

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
  if (pixels > topPixelCount) requireMarkers(*layer, topPixelCount);
  layer->groupCount = labelRuns(*layer);
  buildGroups(*layer);
  if (previousLayer) {
    relateToLayerBelow(*layer, *previousLayer);
  } else {
    strengthenFirstLayer(*layer);
  }
  if (needBuffer) writeBuffers(*layer, *topPixelBuffer, layerIndex);
}

}  // namespace stiltforge
