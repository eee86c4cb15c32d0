#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "reference/stack.h"

namespace stiltforge::golden {

struct ExpectedSlice {
  nlohmann::ordered_json layer;  // the layer object, keys in order
  uint32_t supportCount = 0;
  std::string pixelBuffer;  // digests
  std::string topPixelBuffer;
  std::string supportedPixels;
};

struct ExpectedGroup {
  uint32_t layerIndex = 0;  // slice, from 0
  uint32_t groupIndex = 0;  // id, from 1
  uint32_t width = 0;
  uint32_t height = 0;
  std::array<std::string, 8> images;  // digests, in the order of the bitmap callback's arguments
};

struct GoldenStack {
  reference::Stack stack;
  std::vector<ExpectedSlice> slices;
  std::vector<ExpectedGroup> groups;  // every group of every slice
};

// The names of the stacks of this folder, in order.
const std::vector<std::string>& stackNames();

// Reads one stack with its expected results. Throws std::runtime_error that names the file.
GoldenStack load(const std::string& name);

// 64-bit FNV-1a of `size` bytes, as 16 lower-case hex digits.
std::string digest(const void* bytes, size_t size);

// Digest of a vector's bytes; 32-bit pixels are taken in little-endian order.
std::string digest(const std::vector<uint8_t>& bytes);
std::string digest(const std::vector<uint32_t>& pixels);

}  // namespace stiltforge::golden
