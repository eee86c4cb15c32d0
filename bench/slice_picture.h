#pragma once

#include <cstdint>
#include <string>
#include <vector>

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

// The demo mesh on a screen 134.4 mm wide, in the layer with the most material of some spread over
// its height. `soup` holds nine floats a triangle, mm, z up.
SlicePicture meshPicture(const std::vector<float>& soup, ScreenSize screen);

// Each pixel material with probability 1/2, any blue and green, over one solid plate.
SlicePicture noisePicture(ScreenSize screen);

// Material everywhere, half of it unsupported.
SlicePicture fullPlatePicture(ScreenSize screen);

// Discs in a grid, 24 x 16 of them.
SlicePicture smallPartsPicture(ScreenSize screen);

// Two slices of a stack file that the runner writes: "STACK001", width, height and count as 32-bit
// little-endian words, then count slices of width x height RGBA words, bottom first.
// Throws std::runtime_error for any other file.
SlicePicture stackPicture(const std::string& path);

}  // namespace stiltforge::bench
