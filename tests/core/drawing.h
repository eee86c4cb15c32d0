#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "analysis/layer.h"
#include "analysis/plane.h"
#include "analysis/run_extraction.h"

namespace stiltforge {

// A slice drawn as rows of text: '#' is material, anything else background.
using Rows = std::vector<std::string>;

inline constexpr uint32_t backgroundPixel = 0xFF000000;

inline uint32_t materialPixel(uint8_t blue = 0, uint8_t green = 0, uint8_t red = 255) {
  return 0xFF000000u | static_cast<uint32_t>(blue) << 16 | static_cast<uint32_t>(green) << 8 | red;
}

// A slice as a host sends it: words of red, green, blue and alpha from the low byte up.
struct Picture {
  uint16_t width = 0;
  uint16_t height = 0;
  std::vector<uint32_t> pixels;
};

inline Picture emptyPicture(uint16_t width, uint16_t height) {
  return {width, height, std::vector<uint32_t>(std::size_t{width} * height, backgroundPixel)};
}

inline Picture draw(const Rows& rows, uint8_t blue = 0, uint8_t green = 0) {
  Picture picture =
      emptyPicture(static_cast<uint16_t>(rows.at(0).size()), static_cast<uint16_t>(rows.size()));
  std::size_t i = 0;
  for (const std::string& row : rows) {
    for (const char c : row) {
      if (c == '#') picture.pixels[i] = materialPixel(blue, green);
      ++i;
    }
  }
  return picture;
}

inline Rows filledBox(std::size_t width, std::size_t height) {
  return Rows(height, std::string(width, '#'));
}

inline std::vector<uint8_t> bytesOf(const Picture& picture) {
  std::vector<uint8_t> bytes;
  bytes.reserve(4 * picture.pixels.size());
  for (const uint32_t pixel : picture.pixels) {
    for (int shift = 0; shift < 32; shift += 8) {
      bytes.push_back(static_cast<uint8_t>(pixel >> shift));
    }
  }
  return bytes;
}

inline Slice sliceOf(const Picture& picture) {
  return sliceOfPixels(bytesOf(picture).data(), picture.width, picture.height);
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
  const uint32_t* label = layer.groupOfRun.data();
  for (int y = 0; y < layer.height; ++y) {
    uint32_t* const row = labels.data() + static_cast<std::size_t>(y) * layer.width;
    for (const Run& run : layer.material.row(y)) {
      std::fill(row + run.begin, row + run.end, *label++);
    }
  }
  return labels;
}

// The labels of a segmented layer, drawn: '.' for background, else the label's last digit.
inline Rows labelsOf(const Layer& layer) {
  Rows rows(layer.height, std::string(layer.width, '.'));
  const std::vector<uint32_t> labels = labelPlane(layer);
  for (std::size_t i = 0; i < labels.size(); ++i) {
    if (labels[i] != 0) {
      rows[i / layer.width][i % layer.width] = static_cast<char>('0' + labels[i] % 10);
    }
  }
  return rows;
}

}  // namespace stiltforge
