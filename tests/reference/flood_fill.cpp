#include "reference/flood_fill.h"

#include <algorithm>

namespace stiltforge::reference {
namespace {

class FloodFill {
 public:
  FloodFill(Layer& layer_, const Parameters& parameters_, const std::vector<Layer>& layers,
            std::vector<uint32_t>& topPixelBuffer_)
      : layer(layer_),
        parameters(parameters_),
        layerIndex(static_cast<uint32_t>(layers.size())),
        previousLayer(layers.empty() ? nullptr : &layers.back()),
        topPixelBuffer(topPixelBuffer_) {}

  void run() {
    layer.groups.push_back(std::make_unique<Group>());
    for (uint32_t y = 0; y < layer.height; ++y) {
      for (uint32_t x = 0; x < layer.width; ++x) {
        const uint32_t i = indexOf(x, y);
        if (isBackground(i)) continue;
        if (isSolid(i)) fillGroup(i);
        if (previousLayer != nullptr) linkToLayerBelow(i);
      }
    }
    if (previousLayer != nullptr) return;
    for (uint32_t i = 1; i < layer.groups.size(); ++i) {
      layer.groups[i]->pixelStrength = 1.0f;
      layer.groups[i]->strength = static_cast<float>(layer.groups[i]->numPixel);
    }
  }

 private:
  uint32_t indexOf(uint32_t x, uint32_t y) const { return y * layer.width + x; }
  bool isLabelled(uint32_t i) const { return layer.labels[i] != 0; }
  bool isBackground(uint32_t i) const {
    return !isLabelled(i) && (layer.pixelBuffer[i] & 0xFF) == 0;
  }
  bool isSolid(uint32_t i) const { return !isLabelled(i) && (layer.pixelBuffer[i] & 0xFF) != 0; }

  void fillGroup(uint32_t seed) {
    layer.groups.push_back(std::make_unique<Group>());
    Group& group = *layer.groups.back();
    group.id = layer.groupCount + 1;
    group.overlap.assign(previousLayer == nullptr ? 0 : previousLayer->groups.size(), 0);
    stack.push_back(seed);
    layer.groupCount += 1;

    firstColumn = layer.width;
    firstRow = layer.height;
    lastColumn = 0;
    lastRow = 0;
    while (!stack.empty()) {
      const uint32_t i = stack.back();
      stack.pop_back();
      fillVerticalRun(group, i % layer.width, i / layer.width);
    }
    group.xMin = static_cast<uint16_t>(firstColumn);
    group.yMin = static_cast<uint16_t>(firstRow);
    group.xMax = static_cast<uint16_t>(lastColumn + 1);
    group.yMax = static_cast<uint16_t>(lastRow + 1);
    group.spanX = static_cast<uint16_t>(lastColumn - firstColumn);
    group.spanY = static_cast<uint16_t>(lastRow - firstRow);
  }

  void fillVerticalRun(Group& group, uint32_t x, uint32_t y) {
    while (y > 0 && !isBackground(indexOf(x, y - 1))) --y;
    const bool hasLeft = x > 0;
    const bool hasRight = x + 1 < layer.width;
    bool leftSpan = false;
    bool rightSpan = false;
    for (;; ++y) {
      if (isSolid(indexOf(x, y))) labelPixel(group, indexOf(x, y));
      firstColumn = std::min(firstColumn, x);
      firstRow = std::min(firstRow, y);
      lastColumn = std::max(lastColumn, x);
      lastRow = std::max(lastRow, y);
      leftSpan = hasLeft && scanNeighbour(indexOf(x - 1, y), leftSpan);
      rightSpan = hasRight && scanNeighbour(indexOf(x + 1, y), rightSpan);
      if (y + 1 == layer.height) return;
      if (isBackground(indexOf(x, y + 1))) break;
    }
    if (hasLeft && !leftSpan && isSolid(indexOf(x - 1, y + 1))) {
      stack.push_back(indexOf(x - 1, y + 1));
    }
    if (hasRight && !rightSpan && isSolid(indexOf(x + 1, y + 1))) {
      stack.push_back(indexOf(x + 1, y + 1));
    }
  }

  // Pushes the first pixel of each solid stretch beside the run; returns the new span flag.
  bool scanNeighbour(uint32_t i, bool inSpan) {
    if (isBackground(i)) return false;
    if (isSolid(i) && !inSpan) {
      stack.push_back(i);
      return true;
    }
    return inSpan;
  }

  void labelPixel(Group& group, uint32_t i) {
    const uint32_t pixel = layer.pixelBuffer[i];
    const auto blue = static_cast<uint8_t>(pixel >> 16);
    topPixelBuffer.at(i) = 0xFE000000u + (layerIndex & 0xFFFFFF);
    layer.supportedPixels[i] = blue;
    layer.strokePixels[i] = static_cast<uint8_t>(pixel >> 8);
    if (blue != 255) {
      const float b = blue;
      group.unsupportedPixelCount += 1;
      if (parameters.almostNotBlueCounterLimit > b) group.almostNotBlueCount += 1;
      if (parameters.islandMinBlue > b) group.islandBlueCount += 1;
    }
    layer.labels[i] = group.id;
    layer.pixelBuffer[i] = 0x80000000u + (group.id & 0xFFFFFF);
    layer.pixelCount += 1;
    group.numPixel += 1;
  }

  void linkToLayerBelow(uint32_t i) {
    const uint32_t below = previousLayer->labels[i];
    if (below == 0) return;
    Group& group = *layer.groups[layer.labels[i]];
    group.supportedPixel += 1;
    group.overlap[below] += 1;
    group.islandDistance =
        std::max(group.islandDistance, previousLayer->groups[below]->islandDistance + 1);
  }

  Layer& layer;
  const Parameters& parameters;
  uint32_t layerIndex;
  const Layer* previousLayer;
  std::vector<uint32_t>& topPixelBuffer;
  std::vector<uint32_t> stack;
  uint32_t firstColumn = 0;
  uint32_t firstRow = 0;
  uint32_t lastColumn = 0;
  uint32_t lastRow = 0;
};

}  // namespace

Layer floodFill(const std::vector<uint8_t>& slice, uint16_t width, uint16_t height,
                const Parameters& parameters, const std::vector<Layer>& layers,
                std::vector<uint32_t>& topPixelBuffer) {
  const size_t pixels = size_t{width} * height;
  Layer layer;
  layer.width = width;
  layer.height = height;
  layer.pixelBuffer.resize(pixels);
  for (size_t i = 0; i < pixels; ++i) {
    layer.pixelBuffer[i] = uint32_t{slice.at(4 * i)} | uint32_t{slice.at(4 * i + 1)} << 8 |
                           uint32_t{slice.at(4 * i + 2)} << 16 |
                           uint32_t{slice.at(4 * i + 3)} << 24;
  }
  layer.labels.assign(pixels, 0);
  layer.supportedPixels.assign(pixels, 0);
  layer.strokePixels.assign(pixels, 0);
  FloodFill(layer, parameters, layers, topPixelBuffer).run();
  return layer;
}

}  // namespace stiltforge::reference
