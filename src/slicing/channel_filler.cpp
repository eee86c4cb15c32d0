#include "slicing/channel_filler.h"

#include <cstddef>
#include <cstring>
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

}  // namespace

ChannelFiller::ChannelFiller(int width, int height, const ChannelFalloff& falloff)
    : width_(width),
      height_(height),
      falloff_(falloff),
      stroke_(width, reachOf(falloff.stroke)),
      channels_(falloff) {}

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

void ChannelFiller::writeSupport(std::span<const Run> overhang, const uint8_t*& blue,
                                 uint8_t* row) const {
  for (const Run& run : overhang) {
    uint8_t* at = row + run.begin * bytesPerPixel + blueByte;
    for (uint32_t i = 0; i < run.length(); ++i, at += bytesPerPixel) *at = *blue++;
  }
}

void ChannelFiller::fill(const RunRows& material, const RunRows* below, uint8_t* rgba) {
  channels_.findOverhang(material, below, overhang_, blue_);
  stroke_.begin(material);
  const uint8_t* blue = blue_.data();
  const std::size_t stride = static_cast<std::size_t>(width_) * bytesPerPixel;
  for (int y = 0; y < height_; ++y, rgba += stride) {
    writeRow(material.row(y), rgba);
    writeStroke(y, rgba);
    writeSupport(overhang_.row(y), blue, rgba);
  }
}

}  // namespace stiltforge::slicing
