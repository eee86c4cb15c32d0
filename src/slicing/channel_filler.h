#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "analysis/run_rows.h"
#include "runtime/scratch_vector.h"
#include "slicing/channel_falloff.h"
#include "slicing/distance_transform.h"
#include "slicing/overhang_channels.h"

namespace stiltforge::slicing {

/// Writes a layer's material as RGBA pixels with the support and the stroke value filled in.
///
/// Material pixels get red 255, green the stroke value, blue the support value (see ChannelFalloff)
/// and alpha 255; background pixels are 0, 0, 0, 255. It does not matter where the material comes
/// from.
class ChannelFiller {
 public:
  /// Keeps the falloff by reference.
  ChannelFiller(int width, int height, const ChannelFalloff& falloff);

  /// Writes every pixel of `rgba`, width * height * 4 bytes, row by row. `material` and `below`
  /// have `height` rows within `width`; `below` is the layer below, null for the first layer, which
  /// lies on the plate and is supported everywhere. Lone pixels below carry nothing.
  void fill(const RunRows& material, const RunRows* below, uint8_t* rgba);

 private:
  void writeRow(int y, std::span<const Run> material, uint8_t* row);

  const int width_;
  const int height_;
  OverhangChannels channels_;
  DistanceTransform stroke_;
  RunRows contours_;
  std::vector<uint8_t> green_;  // of a row's material
  RunRows overhang_;
  ScratchVector<uint8_t> blue_;
};

}  // namespace stiltforge::slicing
