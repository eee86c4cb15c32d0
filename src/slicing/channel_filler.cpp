#include "slicing/channel_filler.h"

#include <bit>
#include <cstddef>
#include <cstring>

#include "slicing/contour_pixels.h"

namespace stiltforge::slicing {

namespace {

constexpr std::size_t bytesPerPixel = 4;
constexpr std::size_t blueByte = 2;

uint8_t* pixelAt(uint8_t* row, int32_t x) {
  return row + static_cast<std::size_t>(x) * bytesPerPixel;
}

// Pixels as words: whole ones are stored faster than their bytes one by one.
static_assert(std::endian::native == std::endian::little);
constexpr uint32_t background = 0xFF000000;
constexpr uint32_t supportedMaterial = 0xFFFF00FF;

void writeBackground(uint8_t* row, int32_t begin, int32_t end) {
  uint8_t* at = pixelAt(row, begin);
  for (int32_t x = begin; x < end; ++x, at += bytesPerPixel) {
    std::memcpy(at, &background, bytesPerPixel);
  }
}

void writeMaterial(uint8_t* row, Run run, const uint8_t* __restrict green) {
  uint8_t* __restrict const at = pixelAt(row, run.begin);
  for (std::size_t i = 0; i < run.length(); ++i) {
    const uint32_t pixel = supportedMaterial | static_cast<uint32_t>(green[i] << 8);
    std::memcpy(at + i * bytesPerPixel, &pixel, bytesPerPixel);
  }
}

}  // namespace

ChannelFiller::ChannelFiller(int width, int height, const ChannelFalloff& falloff)
    : width_(width),
      height_(height),
      channels_(falloff),
      stroke_(falloff.stroke),
      green_(static_cast<std::size_t>(width)) {}

void ChannelFiller::writeRow(int y, std::span<const Run> material, uint8_t* row) {
  stroke_.measure(y, material, stroke_.radius(), green_.data());
  const uint8_t* green = green_.data();
  int32_t x = 0;
  for (const Run& run : material) {
    writeBackground(row, x, run.begin);
    writeMaterial(row, run, green);
    green += run.length();
    x = run.end;
  }
  writeBackground(row, x, width_);
}

void ChannelFiller::fill(const RunRows& material, const RunRows* below, uint8_t* rgba) {
  channels_.findOverhang(material, below, overhang_, blue_);
  findContourPixels(material, contours_);
  stroke_.begin(contours_, 0);
  const uint8_t* blue = blue_.data();
  const std::size_t stride = static_cast<std::size_t>(width_) * bytesPerPixel;
  for (int y = 0; y < height_; ++y, rgba += stride) {
    writeRow(y, material.row(y), rgba);
    for (const Run& run : overhang_.row(y)) {
      uint8_t* at = pixelAt(rgba, run.begin) + blueByte;
      for (uint32_t i = 0; i < run.length(); ++i, at += bytesPerPixel) *at = *blue++;
    }
  }
}

}  // namespace stiltforge::slicing
