#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "slicing/slicer.h"

namespace stiltforge::bench {

// A slice to measure with and the slice that lies below it: width x height RGBA words each.
struct SlicePicture {
  std::string name;
  uint16_t width = 0;
  uint16_t height = 0;
  std::vector<uint32_t> below;
  std::vector<uint32_t> slice;

  std::size_t pixels() const { return std::size_t{width} * height; }
  std::size_t bytes() const { return 4 * pixels(); }
};

struct ScreenSize {
  const char* name;
  uint16_t width;
  uint16_t height;
};
inline constexpr ScreenSize screen2k{"2k", 1920, 1080};
inline constexpr ScreenSize screen4k{"4k", 3840, 2400};
inline constexpr ScreenSize screen12k{"12k", 11520, 5120};

// Cuts a mesh into layers of 0.05 mm on a screen 134.4 mm wide; slices cover the whole screen.
// `soup` holds nine floats a triangle, mm, z up.
slicing::Slicer meshSlicer(const std::vector<float>& soup, ScreenSize screen);

// The mesh in the layer with the most material of some spread over its height.
SlicePicture meshPicture(const std::vector<float>& soup, ScreenSize screen);

// Each pixel material with probability 1/2, any blue and green, over one solid plate.
SlicePicture noisePicture(ScreenSize screen);

// Material everywhere, half of it unsupported.
SlicePicture fullPlatePicture(ScreenSize screen);

// Discs in a grid, 24 x 16 of them.
SlicePicture smallPartsPicture(ScreenSize screen);

// A file that the runner writes: width and height as 32-bit words, then two slices of
// width x height RGBA words, the lower one first. Throws std::runtime_error when it is short.
SlicePicture stackPicture(const std::string& path);

}  // namespace stiltforge::bench
