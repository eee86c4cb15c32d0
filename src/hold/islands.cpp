#include "hold/islands.h"

#include <algorithm>
#include <cstdint>

#include "runtime/apart.h"

namespace stiltforge::hold {

namespace {

// What is summed up of a region, and its pixel that is nearest to the centre.
struct Extent {
  uint64_t sumX = 0;
  uint64_t sumY = 0;
  uint32_t pixels = 0;
  uint64_t nearest = ~uint64_t{0};
  uint16_t x = 0;
  uint16_t y = 0;
};

STILTFORGE_APART void measureIslands(const Surroundings& layer, std::vector<Island>& islands) {
  const Components& regions = layer.regions();
  const RegionTracks& tracks = layer.tracks();
  std::vector<Extent> extents(regions.count);  // of the islands
  const auto forEachRun = [&](auto&& fn) {
    const auto height = static_cast<uint32_t>(regions.pixels.height());
    for (uint32_t y = 0; y < height; ++y) {
      for (uint32_t i = regions.pixels.rowStart(y); i < regions.pixels.rowStart(y + 1); ++i) {
        const uint32_t region = regions.ofRun[i];
        if (tracks.isIsland(region)) fn(extents[region], regions.pixels[i], y);
      }
    }
  };
  forEachRun([](Extent& e, const Run& run, uint32_t y) {
    e.pixels += run.length();
    e.sumX += uint64_t{run.length()} * (run.begin + run.end - 1u) / 2;
    e.sumY += uint64_t{run.length()} * y;
  });
  forEachRun([](Extent& e, const Run& run, uint32_t y) {
    const auto centreX = static_cast<int64_t>(e.sumX / e.pixels);
    const auto centreY = static_cast<int64_t>(e.sumY / e.pixels);
    const int64_t x = std::clamp<int64_t>(centreX, run.begin, run.end - 1);
    const auto distance =
        static_cast<uint64_t>((x - centreX) * (x - centreX) + (y - centreY) * (y - centreY));
    if (distance >= e.nearest) return;
    e.nearest = distance;
    e.x = static_cast<uint16_t>(x);
    e.y = static_cast<uint16_t>(y);
  });
  for (uint32_t region = 0; region < regions.count; ++region) {
    if (!tracks.isIsland(region)) continue;
    const Extent& extent = extents[region];
    islands.push_back({layer.placeAt(extent.x, extent.y), extent.pixels});
  }
}

}  // namespace

void findIslands(const Surroundings& layer, std::vector<Island>& islands) {
  for (uint32_t region = 0; region < layer.regions().count; ++region) {
    if (layer.tracks().isIsland(region)) return measureIslands(layer, islands);
  }
}

}  // namespace stiltforge::hold
