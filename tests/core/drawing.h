#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "analysis/layer.h"

namespace stiltforge {

// A slice drawn as rows of text: '#' is material, anything else background.
using Rows = std::vector<std::string>;

inline constexpr uint32_t backgroundPixel = 0xFF000000;

inline uint32_t materialPixel(uint8_t blue = 0, uint8_t green = 0, uint8_t red = 255) {
  return 0xFF000000u | static_cast<uint32_t>(blue) << 16 | static_cast<uint32_t>(green) << 8 | red;
}

// A layer as it enters the analysis, with every pixel background.
inline Layer emptyLayer(uint16_t width, uint16_t height) {
  Layer layer;
  layer.width = width;
  layer.height = height;
  layer.pixelBuffer = Plane<uint32_t>(std::size_t{width} * height);
  std::fill_n(layer.pixelBuffer.data(), layer.pixelBuffer.size(), backgroundPixel);
  return layer;
}

inline Layer draw(const Rows& rows, uint8_t blue = 0, uint8_t green = 0) {
  Layer layer =
      emptyLayer(static_cast<uint16_t>(rows.at(0).size()), static_cast<uint16_t>(rows.size()));
  std::size_t i = 0;
  for (const std::string& row : rows) {
    for (const char c : row) {
      if (c == '#') layer.pixelBuffer[i] = materialPixel(blue, green);
      ++i;
    }
  }
  return layer;
}

inline Rows filledBox(std::size_t width, std::size_t height) {
  return Rows(height, std::string(width, '#'));
}

template <typename T>
Plane<T> planeOf(const std::vector<T>& values) {
  Plane<T> plane(values.size());
  std::copy(values.begin(), values.end(), plane.data());
  return plane;
}

template <typename T>
std::vector<T> valuesOf(const Plane<T>& plane) {
  return {plane.data(), plane.data() + plane.size()};
}

// The label of every pixel of a segmented layer, 0 for background.
inline std::vector<uint32_t> labelPlane(const Layer& layer) {
  std::vector<uint32_t> labels(std::size_t{layer.width} * layer.height, 0);
  for (uint32_t y = 0; y < layer.height; ++y) {
    uint32_t* const row = labels.data() + std::size_t{y} * layer.width;
    for (uint32_t r = layer.rowRuns[y]; r < layer.rowRuns[y + 1]; ++r) {
      std::fill(row + layer.runs[r].begin, row + layer.runs[r].end, layer.runs[r].group);
    }
  }
  return labels;
}

// The bytes of a slice as a host sends them.
inline std::vector<uint8_t> bytesOf(const Layer& layer) {
  std::vector<uint8_t> bytes;
  bytes.reserve(4 * layer.pixelBuffer.size());
  for (const uint32_t pixel : valuesOf(layer.pixelBuffer)) {
    for (int shift = 0; shift < 32; shift += 8) {
      bytes.push_back(static_cast<uint8_t>(pixel >> shift));
    }
  }
  return bytes;
}

// The labels of a segmented layer, drawn: '.' for background, else the label's last digit.
inline Rows labelsOf(const Layer& layer) {
  Rows rows(layer.height, std::string(layer.width, '.'));
  for (uint32_t y = 0; y < layer.height; ++y) {
    for (uint32_t r = layer.rowRuns[y]; r < layer.rowRuns[y + 1]; ++r) {
      const SolidRun& run = layer.runs[r];
      for (uint32_t x = run.begin; x < run.end; ++x) {
        rows[y][x] = static_cast<char>('0' + run.group % 10);
      }
    }
  }
  return rows;
}

}  // namespace stiltforge
