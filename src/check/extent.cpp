#include "check/extent.h"

#include <algorithm>
#include <cstddef>
#include <tuple>

namespace stiltforge::check {

namespace {

template <class Fn>
void forEachRunOf(const hold::Components& components, const std::vector<uint8_t>& isWanted,
                  Fn&& fn) {
  const RunRows& rows = components.pixels;
  for (int y = 0; y < rows.height(); ++y) {
    const auto row = static_cast<std::size_t>(y);
    for (uint32_t run = rows.rowStart(row); run < rows.rowStart(row + 1); ++run) {
      if (isWanted[components.ofRun[run]]) {
        fn(components.ofRun[run], rows[run], static_cast<uint16_t>(y));
      }
    }
  }
}

struct Centre {
  uint64_t sumX = 0;
  uint64_t sumY = 0;
  uint64_t nearest = ~uint64_t{0};
};

}  // namespace

void Extent::join(const Extent& other) {
  if (other.pixels == 0) return;
  if (pixels == 0) {
    *this = other;
    return;
  }
  firstLayer = std::min(firstLayer, other.firstLayer);
  lastLayer = std::max(lastLayer, other.lastLayer);
  left = std::min(left, other.left);
  right = std::max(right, other.right);
  top = std::min(top, other.top);
  bottom = std::max(bottom, other.bottom);
  pixels += other.pixels;
  firstPixels += other.firstPixels;
  const auto placeOf = [](const Spot& spot) { return std::tuple(spot.layer, spot.y, spot.x); };
  if (other.pieceSize > pieceSize ||
      (other.pieceSize == pieceSize && placeOf(other.piece) < placeOf(piece))) {
    pieceSize = other.pieceSize;
    piece = other.piece;
  }
}

std::vector<Extent> extentsOf(const hold::Components& components, uint32_t layer,
                              const std::vector<uint8_t>& isWanted) {
  std::vector<Extent> extents(components.count);
  if (std::find(isWanted.begin(), isWanted.end(), 1) == isWanted.end()) return extents;
  std::vector<Centre> centres(components.count);
  forEachRunOf(components, isWanted, [&](uint32_t component, const Run& run, uint16_t y) {
    Extent& extent = extents[component];
    const auto last = static_cast<uint16_t>(run.end - 1);
    if (extent.pixels == 0) {
      extent = {layer, layer, run.begin, last, y, y, 0, 0, 0, {layer, 0, 0}};
    }
    extent.left = std::min(extent.left, run.begin);
    extent.right = std::max(extent.right, last);
    extent.bottom = y;
    extent.pixels += run.length();
    if (layer == 0) extent.firstPixels = extent.pixels;
    Centre& centre = centres[component];
    centre.sumX += uint64_t{run.length()} * (run.begin + run.end - 1u) / 2;
    centre.sumY += uint64_t{run.length()} * y;
  });
  forEachRunOf(components, isWanted, [&](uint32_t component, const Run& run, uint16_t y) {
    Extent& extent = extents[component];
    Centre& centre = centres[component];
    const auto centreX = static_cast<int64_t>(centre.sumX / extent.pixels);
    const auto centreY = static_cast<int64_t>(centre.sumY / extent.pixels);
    const int64_t x = std::clamp<int64_t>(centreX, run.begin, run.end - 1);
    const auto distance =
        static_cast<uint64_t>((x - centreX) * (x - centreX) + (y - centreY) * (y - centreY));
    if (distance >= centre.nearest) return;
    centre.nearest = distance;
    extent.piece.x = static_cast<uint16_t>(x);
    extent.piece.y = y;
    extent.pieceSize = static_cast<uint32_t>(extent.pixels);
  });
  return extents;
}

}  // namespace stiltforge::check
