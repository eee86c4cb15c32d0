#include "slicing/channel_filler.h"

#include <cstddef>
#include <cstring>
#include <utility>
#include <vector>

namespace stiltforge::slicing {

namespace {

constexpr std::size_t bytesPerPixel = 4;
constexpr std::size_t greenByte = 1;
constexpr std::size_t blueByte = 2;
constexpr uint8_t background[bytesPerPixel] = {0, 0, 0, 255};
constexpr uint8_t supportedInside[bytesPerPixel] = {255, 0, 255, 255};

void writePixels(uint8_t* row, int32_t begin, int32_t end, const uint8_t (&pixel)[bytesPerPixel]) {
  uint8_t* at = row + static_cast<std::size_t>(begin) * bytesPerPixel;
  for (int32_t x = begin; x < end; ++x, at += bytesPerPixel) std::memcpy(at, pixel, bytesPerPixel);
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
    writePixels(row, x, run.begin, background);
    writePixels(row, run.begin, run.end, supportedInside);
    x = run.end;
  }
  writePixels(row, x, width_, background);
}

void ChannelFiller::writeStroke(int y, uint8_t* row) {
  for (const StrokeDistance::Band& band : stroke_.bandsOfRow(y)) {
    const int32_t* distance = stroke_.distances().data() + band.offset;
    uint8_t* green = row + static_cast<std::size_t>(band.begin) * bytesPerPixel + greenByte;
    for (int32_t x = band.begin; x < band.end; ++x, green += bytesPerPixel) {
      *green = valueAt(falloff_.stroke, *distance++);
    }
  }
}

void ChannelFiller::writeSupport(int y, std::span<const Run> material, const RunRows& below,
                                 uint8_t* row) {
  std::span<const Run> carried = below.row(y);
  for (const Run& run : material) {
    forEachUncovered(run, carried, [&](int32_t begin, int32_t end) {
      uint8_t* blue = row + static_cast<std::size_t>(begin) * bytesPerPixel + blueByte;
      for (const int32_t distance : overhang_.measure(
               y, {static_cast<uint16_t>(begin), static_cast<uint16_t>(end)}, below)) {
        *blue = valueAt(falloff_.support, distance);
        blue += bytesPerPixel;
      }
    });
  }
}

void ChannelFiller::fill(const RunRows& material, const RunRows* below, uint8_t* rgba) {
  stroke_.begin(material);
  if (below != nullptr) below = &carrying_.of(*below);
  const std::size_t stride = static_cast<std::size_t>(width_) * bytesPerPixel;
  for (int y = 0; y < height_; ++y, rgba += stride) {
    writeRow(material.row(y), rgba);
    writeStroke(y, rgba);
    if (below != nullptr) writeSupport(y, material.row(y), *below, rgba);
  }
}

}  // namespace stiltforge::slicing
