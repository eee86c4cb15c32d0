#include "slicing/layer_slicer.h"

#include <cstring>
#include <string>
#include <utility>

#include "runtime/worker_pool.h"
#include "slicing/overhang_channels.h"
#include "slicing/screen_placement.h"
#include "slicing/slicing_error.h"

namespace stiltforge::slicing {

namespace {

constexpr std::size_t bytesPerPixel = 4;

const LayerSettings& checked(const LayerSettings& settings) {
  if (settings.width == 0 || settings.height == 0 || settings.width > longestCropSide ||
      settings.height > longestCropSide) {
    throw SlicingError("The layers are " + std::to_string(settings.width) + " x " +
                       std::to_string(settings.height) +
                       " pixels; both sides must be between 1 and " +
                       std::to_string(longestCropSide) + ".");
  }
  return settings;
}

// Material that is fully supported, in the colours of ChannelFiller; its stroke value is not kept.
constexpr uint8_t supportedPixel[bytesPerPixel] = {255, 0, 255, 255};
constexpr uint8_t background[bytesPerPixel] = {0, 0, 0, 255};

void paint(const Slice& slice, uint8_t* rgba) {
  const std::size_t pixels = std::size_t{slice.width} * slice.height;
  for (std::size_t i = 0; i < pixels; ++i) {
    std::memcpy(rgba + i * bytesPerPixel, background, bytesPerPixel);
  }
  std::size_t value = 0;
  for (int y = 0; y < slice.height; ++y) {
    uint8_t* const row = rgba + static_cast<std::size_t>(y) * slice.width * bytesPerPixel;
    for (const Run& run : slice.material.row(y)) {
      for (std::size_t x = run.begin; x < run.end; ++x) {
        std::memcpy(row + x * bytesPerPixel, supportedPixel, bytesPerPixel);
      }
    }
    for (const Run& run : slice.overhang.row(y)) {
      for (std::size_t x = run.begin; x < run.end; ++x, ++value) {
        row[x * bytesPerPixel + 1] = slice.green[value];
        row[x * bytesPerPixel + 2] = slice.blue[value];
      }
    }
  }
}

}  // namespace

LayerSlicer::LayerSlicer(const LayerSettings& settings, Read read)
    : settings_(checked(settings)), falloff_(settings.channels), read_(std::move(read)) {}

void LayerSlicer::read(uint32_t layer, Slice& slice) const {
  slice.width = static_cast<uint16_t>(settings_.width);
  slice.height = static_cast<uint16_t>(settings_.height);
  read_(layer, slice);
}

const RunRows* LayerSlicer::below(uint32_t layer) {
  if (layer == 0) return nullptr;
  if (lastLayer_ != layer - 1) {
    Slice slice;
    read(layer - 1, slice);
    keep(layer - 1, slice.material);
  }
  return &below_;
}

void LayerSlicer::keep(uint32_t layer, const RunRows& material) {
  lastLayer_.reset();
  below_ = material;
  lastLayer_ = layer;
}

void LayerSlicer::slice(uint32_t first, std::span<Slice> slices) {
  workers::parallelFor(slices.size(),
                       [&](std::size_t i) { read(first + static_cast<uint32_t>(i), slices[i]); });
  if (settings_.haveChannels || slices.empty()) return;
  const RunRows* const firstBelow = below(first);
  workers::parallelFor(slices.size(), [&](std::size_t i) {
    OverhangChannels(falloff_).fill(i > 0 ? &slices[i - 1].material : firstBelow, slices[i]);
  });
  keep(first + static_cast<uint32_t>(slices.size()) - 1, slices.back().material);
}

SliceInfo LayerSlicer::slice(uint32_t index, uint8_t* rgba) {
  Slice slice;
  read(index, slice);
  const SliceInfo info{slice.material.pixelCount(), (index + 0.5) * settings_.channels.layerHeight};
  if (settings_.haveChannels) {
    paint(slice, rgba);
    return info;
  }
  if (!filler_) {
    filler_.emplace(static_cast<int>(settings_.width), static_cast<int>(settings_.height),
                    falloff_);
  }
  filler_->fill(slice.material, below(index), rgba);
  keep(index, slice.material);
  return info;
}

}  // namespace stiltforge::slicing
