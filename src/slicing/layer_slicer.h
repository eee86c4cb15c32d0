#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>

#include "analysis/run_rows.h"
#include "analysis/slice.h"
#include "slicing/channel_falloff.h"
#include "slicing/channel_filler.h"
#include "slicing/slice_source.h"

namespace stiltforge::slicing {

struct LayerSettings {
  uint32_t layerCount = 0;
  uint32_t layerWidth = 0;   ///< pixels, 1 to longestCropSide
  uint32_t layerHeight = 0;  ///< pixels, 1 to longestCropSide
  uint32_t cropX = 0;        ///< first column of the layers that the slices show
  uint32_t cropY = 0;        ///< first row
  uint32_t width = 0;        ///< pixels of the slices
  uint32_t height = 0;       ///< pixels of the slices
  ChannelSettings channels;
  /// Whether the layers bring the channels of what overhangs; they are found from the layer below
  /// otherwise.
  bool haveChannels = false;
};

/// Makes slices of layers that are there already, in a printer file for example.
class LayerSlicer : public SliceSource {
 public:
  /// Replaces all but the size of a slice by a whole layer: its material, and its overhang where
  /// the layers have channels. Called by several threads at once; what it throws ends the call.
  using Read = std::function<void(uint32_t layer, Slice& slice)>;

  /// Throws SlicingError when a setting is out of range or the crop reaches out of the layers.
  LayerSlicer(const LayerSettings& settings, Read read);

  uint32_t layerCount() const override { return settings_.layerCount; }
  uint32_t width() const override { return settings_.width; }
  uint32_t height() const override { return settings_.height; }

  void slice(uint32_t first, std::span<Slice> slices) override;
  SliceInfo slice(uint32_t index, uint8_t* rgba) override;

 private:
  void read(uint32_t layer, Slice& slice) const;
  // The material below a layer; null for the first.
  const RunRows* below(uint32_t layer);
  void keep(uint32_t layer, const RunRows& material);

  const LayerSettings settings_;
  const ChannelFalloff falloff_;
  const Read read_;
  std::optional<ChannelFiller> filler_;  // made for the first picture
  std::optional<uint32_t> lastLayer_;    // whose material below_ is
  RunRows below_;
};

}  // namespace stiltforge::slicing
