// Analyses drifting discs and prints what that took: the growth of the process's peak resident
// memory in bytes, the supports placed and the unsupported pixels of all layers.
// Usage: memory_probe WIDTH HEIGHT LAYERS REGIONS NEED_BUFFER(0|1) SUPPORT_STRENGTH GHOST_RADIUS

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <mutex>
#include <string>
#include <vector>

#include "support/poisson.h"
#include "support/slice_pipeline.h"

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

void setParameters(float supportStrength, float ghostRadius) {
  Poisson::supportStrength = supportStrength;
  Poisson::growthStrength = 1;
  Poisson::strengthTransmited = 0.9f;
  Poisson::firstSupportMinStrength = 1;
  Poisson::numberOfSamplePerSupport = 1e6f;  // every unsupported pixel becomes a sample
  Poisson::numberOfSamplePerVoronoi = 100;
  Poisson::ghostPart = 1;
  Poisson::ghostRadius = ghostRadius;
  Poisson::createGhostSpread();
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
  setParameters(std::strtof(words[5], nullptr), std::strtof(words[6], nullptr));
  const std::size_t pixels = std::size_t(width) * height;
  std::vector<Layer> layers;
  std::mutex mutex;
  SliceScratch scratch;
  Plane<uint32_t> top;
  if (needBuffer) {
    top = Plane<uint32_t>(pixels);
    std::fill_n(top.data(), pixels, 0u);
  }
  Plane<uint32_t> spent;
  uint64_t supports = 0;
  for (int i = 0; i < layerCount; ++i) {
    Layer layer;
    layer.width = static_cast<uint16_t>(width);
    layer.height = static_cast<uint16_t>(height);
    layer.pixelBuffer = spent.empty() ? Plane<uint32_t>(pixels) : std::move(spent);
    std::memcpy(layer.pixelBuffer.data(), discs.draw(i).data(), 4 * pixels);
    SlicePipeline pipeline;
    pipeline.layers = &layers;
    pipeline.historyMutex = &mutex;
    pipeline.topPixelBuffer = &top;
    pipeline.topPixelCount = pixels;
    pipeline.needBuffer = needBuffer;
    pipeline.scratch = &scratch;
    supports += pipeline.run(std::move(layer));
    spent = std::move(pipeline.spentPixels);
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
