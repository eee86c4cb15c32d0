#include "slicing/plain_channels.h"

#include <algorithm>
#include <limits>

namespace stiltforge::slicing {

namespace {

struct Pixel {
  int64_t x, y;
};

bool isMaterial(const MaskPicture& mask, int64_t x, int64_t y) {
  return y >= 0 && y < static_cast<int64_t>(mask.size()) && x >= 0 &&
         x < static_cast<int64_t>(mask[0].size()) &&
         mask[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)] == '#';
}

template <class Wanted>
std::vector<Pixel> pixelsThat(const MaskPicture& mask, Wanted wanted) {
  std::vector<Pixel> pixels;
  for (int64_t y = 0; y < static_cast<int64_t>(mask.size()); ++y) {
    for (int64_t x = 0; x < static_cast<int64_t>(mask[0].size()); ++x) {
      if (isMaterial(mask, x, y) && wanted(x, y)) pixels.push_back({x, y});
    }
  }
  return pixels;
}

uint8_t valueOfNearest(const std::vector<Pixel>& sites, int64_t x, int64_t y,
                       const std::vector<uint8_t>& table) {
  uint64_t nearest = std::numeric_limits<uint64_t>::max();
  for (const Pixel& site : sites) {
    const int64_t dx = site.x - x;
    const int64_t dy = site.y - y;
    nearest = std::min(nearest, static_cast<uint64_t>(dx * dx + dy * dy));
  }
  return nearest < table.size() ? table[nearest] : 0;
}

}  // namespace

std::vector<uint8_t> plainChannels(const MaskPicture& material, const MaskPicture& below,
                                   const ChannelFalloff& falloff) {
  const auto contour = pixelsThat(material, [&](int64_t x, int64_t y) {
    return !isMaterial(material, x - 1, y) || !isMaterial(material, x + 1, y) ||
           !isMaterial(material, x, y - 1) || !isMaterial(material, x, y + 1);
  });
  const auto carrying = pixelsThat(below, [&](int64_t x, int64_t y) {
    int neighbours = -1;
    for (int64_t row = y - 1; row <= y + 1; ++row) {
      for (int64_t column = x - 1; column <= x + 1; ++column) {
        if (isMaterial(below, column, row)) ++neighbours;
      }
    }
    return neighbours > 0;
  });
  std::vector<uint8_t> rgba;
  for (int64_t y = 0; y < static_cast<int64_t>(material.size()); ++y) {
    for (int64_t x = 0; x < static_cast<int64_t>(material[0].size()); ++x) {
      if (!isMaterial(material, x, y)) {
        rgba.insert(rgba.end(), {0, 0, 0, 255});
        continue;
      }
      const uint8_t green = valueOfNearest(contour, x, y, falloff.stroke);
      const uint8_t blue =
          below.empty() ? uint8_t{255} : valueOfNearest(carrying, x, y, falloff.support);
      rgba.insert(rgba.end(), {255, green, blue, 255});
    }
  }
  return rgba;
}

}  // namespace stiltforge::slicing
