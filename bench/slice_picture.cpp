#include "slice_picture.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>

namespace stiltforge::bench {

namespace {

constexpr double screenWidth = 134.4;  // mm
constexpr double layerHeight = 0.05;   // mm
constexpr uint32_t background = 0xFF000000;

uint32_t material(uint32_t green, uint32_t blue) {
  return 0xFF0000FF | green << 8 | blue << 16;
}

SlicePicture blankPicture(const std::string& kind, ScreenSize screen) {
  SlicePicture picture;
  picture.name = kind + "-" + screen.name;
  picture.width = screen.width;
  picture.height = screen.height;
  picture.below.assign(picture.pixels(), background);
  picture.slice.assign(picture.pixels(), background);
  return picture;
}

}  // namespace

slicing::Slicer meshSlicer(const std::vector<float>& soup, ScreenSize screen) {
  slicing::SlicerSettings settings;
  settings.screen.pixelSize = screenWidth / screen.width;
  settings.screen.width = screen.width;
  settings.screen.height = screen.height;
  settings.screen.margin = screen.width;
  settings.channels.layerHeight = layerHeight;
  return slicing::Slicer(soup, settings);
}

SlicePicture meshPicture(const std::vector<float>& soup, ScreenSize screen) {
  slicing::Slicer slicer = meshSlicer(soup, screen);

  SlicePicture picture = blankPicture("bunny", screen);
  constexpr uint32_t tries = 16;
  uint32_t best = 1;
  uint64_t most = 0;
  for (uint32_t i = 0; i < tries; ++i) {
    const uint32_t layer = 1 + (slicer.layerCount() - 1) * i / tries;
    const uint64_t pixels =
        slicer.slice(layer, reinterpret_cast<uint8_t*>(picture.slice.data())).materialPixels;
    if (pixels > most) {
      most = pixels;
      best = layer;
    }
  }
  slicer.slice(best - 1, reinterpret_cast<uint8_t*>(picture.below.data()));
  slicer.slice(best, reinterpret_cast<uint8_t*>(picture.slice.data()));
  return picture;
}

SlicePicture noisePicture(ScreenSize screen) {
  SlicePicture picture = blankPicture("noise", screen);
  std::mt19937 random(1);
  for (uint32_t& pixel : picture.slice) {
    const uint32_t bits = random();
    if (bits >> 31) pixel = material(bits & 0xFF, bits >> 8 & 0xFF);
  }
  // The plain version holds a counter for every pair of groups of the two layers.
  picture.below.assign(picture.pixels(), material(0, 255));
  return picture;
}

SlicePicture fullPlatePicture(ScreenSize screen) {
  SlicePicture picture = blankPicture("full", screen);
  for (std::size_t i = 0; i < picture.pixels(); ++i) {
    const uint32_t blue = i % picture.width < picture.width / 2u ? 255 : 40;
    picture.below[i] = picture.slice[i] = material(0, blue);
  }
  return picture;
}

SlicePicture smallPartsPicture(ScreenSize screen) {
  constexpr int columns = 24;
  constexpr int rows = 16;
  SlicePicture picture = blankPicture("parts", screen);
  const int pitchX = screen.width / columns;
  const int pitchY = screen.height / rows;
  const int radius = std::min(pitchX, pitchY) * 2 / 5;
  for (int y = 0; y < screen.height; ++y) {
    for (int x = 0; x < screen.width; ++x) {
      const int dx = x % pitchX - pitchX / 2;
      const int dy = y % pitchY - pitchY / 2;
      const int distance2 = dx * dx + dy * dy;
      const std::size_t i = static_cast<std::size_t>(y) * screen.width + x;
      if (distance2 <= radius * radius) picture.slice[i] = material(0, dx > 0 ? 255 : 100);
      if (distance2 <= (radius - 4) * (radius - 4)) picture.below[i] = material(0, 255);
    }
  }
  return picture;
}

SlicePicture stackPicture(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  uint32_t header[2];
  file.read(reinterpret_cast<char*>(header), sizeof header);
  if (!file) throw std::runtime_error("cannot read " + path);
  SlicePicture picture;
  picture.name = std::filesystem::path(path).stem().string();
  picture.width = static_cast<uint16_t>(header[0]);
  picture.height = static_cast<uint16_t>(header[1]);
  const auto bytes = static_cast<std::streamoff>(picture.bytes());
  for (std::vector<uint32_t>* slice : {&picture.below, &picture.slice}) {
    slice->resize(picture.pixels());
    file.read(reinterpret_cast<char*>(slice->data()), bytes);
  }
  if (!file) throw std::runtime_error(path + " is shorter than its header states");
  return picture;
}

}  // namespace stiltforge::bench
