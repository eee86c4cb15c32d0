// Analyses drifting discs and prints what that took: the growth of the process's peak resident
// memory in bytes, the supports placed and the unsupported pixels of all layers.
// Usage: memory_probe WIDTH HEIGHT LAYERS REGIONS NEED_BUFFER(0|1) SUPPORT_STRENGTH GHOST_RADIUS

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "analysis/run_extraction.h"
#include "model/model.h"

namespace stiltforge {
namespace {

// A figure of /proc/self/status, bytes.
uint64_t statusBytes(const std::string& name) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind(name + ":", 0) == 0) {
      return 1024 * std::strtoull(line.c_str() + name.size() + 1, nullptr, 10);
    }
  }
  return 0;
}

class Discs {
 public:
  Discs(int width, int height, int regions)
      : width_(width),
        columns_(static_cast<int>(std::ceil(std::sqrt(regions)))),
        pitchX_(width / columns_),
        pitchY_(height / ((regions + columns_ - 1) / columns_)),
        radius_(std::min(pitchX_, pitchY_) * 2 / 5),
        regions_(regions),
        slice_(std::size_t(width) * height) {}

  // The sides of each disc hang over the layer below.
  const std::vector<uint32_t>& draw(int layer) {
    std::fill(slice_.begin(), slice_.end(), 0xFF000000);
    const int drift = layer % (radius_ / 4 + 1);
    for (int i = 0; i < regions_; ++i) {
      const int centreX = i % columns_ * pitchX_ + pitchX_ / 2 + drift;
      const int centreY = i / columns_ * pitchY_ + pitchY_ / 2;
      for (int dy = -radius_; dy <= radius_; ++dy) {
        const int half = static_cast<int>(std::sqrt(radius_ * radius_ - dy * dy));
        uint32_t* const row = slice_.data() + std::size_t(centreY + dy) * width_ + centreX;
        for (int dx = -half; dx <= half; ++dx) {
          const bool hangs = 5 * std::abs(dx) > 4 * half;
          unsupported += hangs;
          const uint32_t blue = hangs ? static_cast<uint32_t>((7 * dx + 13 * dy) & 0x7F) : 255;
          row[dx] = 0xFF0000FF | blue << 16 | static_cast<uint32_t>(dx & 0xFF) << 8;
        }
      }
    }
    return slice_;
  }

  uint64_t unsupported = 0;  // pixels drawn so far

 private:
  int width_, columns_, pitchX_, pitchY_, radius_, regions_;
  std::vector<uint32_t> slice_;
};

Settings settingsOf(float supportStrength, float ghostRadius) {
  Settings settings;
  settings.supportStrength = supportStrength;
  settings.growthStrength = 1;
  settings.strengthTransmited = 0.9f;
  settings.firstSupportMinStrength = 1;
  settings.numberOfSamplePerSupport = 1e6f;  // every unsupported pixel becomes a sample
  settings.numberOfSamplePerVoronoi = 100;
  settings.ghostPart = 1;
  settings.ghostRadius = ghostRadius;
  return settings;
}

int run(char** words) {
  const int width = std::atoi(words[0]);
  const int height = std::atoi(words[1]);
  const int layerCount = std::atoi(words[2]);
  Discs discs(width, height, std::atoi(words[3]));
  const bool needBuffer = std::atoi(words[4]) != 0;
  discs.draw(0);

  discs.unsupported = 0;
  const uint64_t before = statusBytes("VmRSS");
  const std::size_t pixels = std::size_t(width) * height;
  Model model(settingsOf(std::strtof(words[5], nullptr), std::strtof(words[6], nullptr)), pixels);
  uint64_t supports = 0;
  for (int i = 0; i < layerCount; ++i) {
    // As a host holds them: the picture that comes back, and the three of the result.
    std::vector<uint32_t> picture(needBuffer ? pixels : 0);
    std::vector<uint32_t> labels(picture.size());
    std::vector<uint32_t> markers(picture.size());
    std::vector<uint8_t> supportValues(picture.size());
    const SliceBuffers buffers{picture.data(), labels.data(), markers.data(), supportValues.data()};
    Model::SliceOptions options;
    if (needBuffer) options.buffers = &buffers;
    supports += model.analyse(
        sliceOfPixels(reinterpret_cast<const uint8_t*>(discs.draw(i).data()),
                      static_cast<uint16_t>(width), static_cast<uint16_t>(height),
                      needBuffer ? reinterpret_cast<uint8_t*>(picture.data()) : nullptr),
        options);
  }
  std::printf("%llu %llu %llu\n", static_cast<unsigned long long>(statusBytes("VmHWM") - before),
              static_cast<unsigned long long>(supports),
              static_cast<unsigned long long>(discs.unsupported));
  return 0;
}

}  // namespace
}  // namespace stiltforge

int main(int argc, char** argv) {
  return argc == 8 ? stiltforge::run(argv + 1) : 2;
}
