#include "slicing/layer_slicer.h"

#include <algorithm>
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

std::string sizeText(uint32_t width, uint32_t height) {
  return std::to_string(width) + " x " + std::to_string(height) + " pixels";
}

bool isSide(uint32_t pixels) {
  return pixels >= 1 && pixels <= longestCropSide;
}

const LayerSettings& checked(const LayerSettings& settings) {
  if (!isSide(settings.layerWidth) || !isSide(settings.layerHeight)) {
    throw SlicingError("The layers are " + sizeText(settings.layerWidth, settings.layerHeight) +
                       "; both sides must be between 1 and " + std::to_string(longestCropSide) +
                       ".");
  }
  const uint64_t right = uint64_t{settings.cropX} + settings.width;
  const uint64_t bottom = uint64_t{settings.cropY} + settings.height;
  if (settings.width == 0 || settings.height == 0 || right > settings.layerWidth ||
      bottom > settings.layerHeight) {
    throw SlicingError("The slices show " + sizeText(settings.width, settings.height) +
                       " from column " + std::to_string(settings.cropX) + " and row " +
                       std::to_string(settings.cropY) + ", but the layers have only " +
                       sizeText(settings.layerWidth, settings.layerHeight) + ".");
  }
  return settings;
}

/// Cuts a part out of a layer.
class Crop {
 public:
  explicit Crop(const LayerSettings& settings)
      : left_(static_cast<int32_t>(settings.cropX)),
        top_(static_cast<int32_t>(settings.cropY)),
        width_(static_cast<int32_t>(settings.width)),
        height_(static_cast<int32_t>(settings.height)) {}

  void cut(const Slice& whole, Slice& slice) const {
    slice.material.clear();
    slice.overhang.clear();
    slice.blue.clear();
    slice.green.clear();
    cutRows(whole.material, slice.material, [](std::size_t) {});
    cutRows(whole.overhang, slice.overhang, [&](std::size_t pixel) {
      slice.blue.push_back(whole.blue[pixel]);
      slice.green.push_back(whole.green[pixel]);
    });
  }

 private:
  // Calls keep(i) for each pixel that stays, the i-th of all in raster order.
  template <class Keep>
  void cutRows(const RunRows& rows, RunRows& part, const Keep& keep) const {
    std::size_t before = 0;
    for (int y = 0; y < std::min(rows.height(), top_ + height_); ++y) {
      for (const Run& run : rows.row(y)) {
        const int32_t begin = std::max<int32_t>(run.begin, left_);
        const int32_t end = std::min<int32_t>(run.end, left_ + width_);
        if (y >= top_ && begin < end) {
          part.add(begin - left_, end - left_);
          for (int32_t x = begin; x < end; ++x) {
            keep(before + static_cast<std::size_t>(x - run.begin));
          }
        }
        before += run.length();
      }
      if (y >= top_) part.endRow();
    }
  }

  const int32_t left_;
  const int32_t top_;
  const int32_t width_;
  const int32_t height_;
};

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
  if (settings_.width == settings_.layerWidth && settings_.height == settings_.layerHeight) {
    read_(layer, slice);
    return;
  }
  Slice whole;
  whole.width = static_cast<uint16_t>(settings_.layerWidth);
  whole.height = static_cast<uint16_t>(settings_.layerHeight);
  read_(layer, whole);
  Crop(settings_).cut(whole, slice);
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
