#include "slicing/channel_filler.h"

#include <cstddef>
#include <cstring>
#include <utility>
#include <vector>

namespace stiltforge::slicing {

namespace {

constexpr std::size_t kBytesPerPixel = 4;
constexpr std::size_t kGreen = 1;
constexpr std::size_t kBlue = 2;
constexpr uint8_t kBackground[kBytesPerPixel] = {0, 0, 0, 255};
constexpr uint8_t kSupportedInside[kBytesPerPixel] = {255, 0, 255, 255};

void writePixels(uint8_t* row, int32_t begin, int32_t end, const uint8_t (&pixel)[kBytesPerPixel]) {
  uint8_t* at = row + static_cast<std::size_t>(begin) * kBytesPerPixel;
  for (int32_t x = begin; x < end; ++x, at += kBytesPerPixel)
    std::memcpy(at, pixel, kBytesPerPixel);
}

// The largest distance for which the table has an entry.
int reachOf(const std::vector<uint8_t>& table) {
  int reach = 0;
  while (static_cast<std::size_t>(reach + 1) * static_cast<std::size_t>(reach + 1) < table.size()) {
    ++reach;
  }
  return reach;
}

uint8_t valueAt(const std::vector<uint8_t>& table, int32_t squaredDistance) {
  const auto entry = static_cast<std::size_t>(squaredDistance);
  return entry < table.size() ? table[entry] : 0;
}

}  // namespace

ChannelFiller::ChannelFiller(int width, int height, ChannelFalloff falloff)
    : width_(width),
      height_(height),
      falloff_(std::move(falloff)),
      stroke_(width, reachOf(falloff_.stroke)),
      overhang_(reachOf(falloff_.support)) {}

void ChannelFiller::writeRow(std::span<const Run> material, uint8_t* row) const {
  int32_t x = 0;
  for (const Run& run : material) {
    writePixels(row, x, run.begin, kBackground);
    writePixels(row, run.begin, run.end, kSupportedInside);
    x = run.end;
  }
  writePixels(row, x, width_, kBackground);
}

void ChannelFiller::writeStroke(int y, uint8_t* row) {
  for (const StrokeDistance::Band& band : stroke_.bandsOfRow(y)) {
    const int32_t* distance = stroke_.distances().data() + band.offset;
    uint8_t* green = row + static_cast<std::size_t>(band.begin) * kBytesPerPixel + kGreen;
    for (int32_t x = band.begin; x < band.end; ++x, green += kBytesPerPixel) {
      *green = valueAt(falloff_.stroke, *distance++);
    }
  }
}

void ChannelFiller::writeSupport(int y, std::span<const Run> material, const RunRows& below,
                                 uint8_t* row) {
  std::span<const Run> carried = below.row(y);
  for (const Run& run : material) {
    forEachUncovered(run, carried, [&](int32_t begin, int32_t end) {
      uint8_t* blue = row + static_cast<std::size_t>(begin) * kBytesPerPixel + kBlue;
      for (const int32_t distance : overhang_.measure(y, {begin, end}, below)) {
        *blue = valueAt(falloff_.support, distance);
        blue += kBytesPerPixel;
      }
    });
  }
}

void ChannelFiller::fill(const RunRows& material, const RunRows* below, uint8_t* rgba) {
  stroke_.begin(material);
  if (below != nullptr) below = &carrying_.of(*below);
  const std::size_t stride = static_cast<std::size_t>(width_) * kBytesPerPixel;
  for (int y = 0; y < height_; ++y, rgba += stride) {
    writeRow(material.row(y), rgba);
    writeStroke(y, rgba);
    if (below != nullptr) writeSupport(y, material.row(y), *below, rgba);
  }
}

}  // namespace stiltforge::slicing
