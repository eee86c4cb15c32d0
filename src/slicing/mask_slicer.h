#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "analysis/run_rows.h"
#include "analysis/slice.h"
#include "slicing/channel_falloff.h"
#include "slicing/channel_filler.h"
#include "slicing/slice_info.h"

namespace stiltforge::slicing {

struct MaskSettings {
  uint32_t maskWidth = 0;   ///< pixels
  uint32_t maskHeight = 0;  ///< pixels
  uint32_t cropX = 0;       ///< first column of the masks that the slices show
  uint32_t cropY = 0;       ///< first row
  uint32_t width = 0;       ///< pixels of the slices
  uint32_t height = 0;      ///< pixels of the slices
  uint8_t threshold = 128;  ///< the lowest grey that is material, at least 1
  ChannelSettings channels;
};

/// Makes slices of the black-and-white layers that an archive or a folder of pictures holds,
/// bottom first. Soft edges are cut at a threshold.
class MaskSlicer {
 public:
  /// Throws SlicingError when a setting is out of range or the crop reaches out of the mask.
  explicit MaskSlicer(const MaskSettings& settings);
  MaskSlicer(const MaskSlicer&) = delete;
  MaskSlicer& operator=(const MaskSlicer&) = delete;

  std::size_t maskBytes() const { return std::size_t{settings_.maskWidth} * settings_.maskHeight; }

  /// The next layers up, the first call's the ones on the plate: replaces slices[i] by the slice of
  /// masks[i], each maskBytes() grey bytes, row by row, or it throws SlicingError. The layers are
  /// spread over the worker pool. A call that throws counts as none: it can be made again.
  void next(std::span<const std::span<const uint8_t>> masks, std::span<Slice> slices);

  /// The same for one layer as a picture: writes width * height * 4 bytes, see ChannelFiller for
  /// the pixels.
  SliceInfo next(std::span<const uint8_t> mask, uint8_t* rgba);

 private:
  void findMaterial(std::span<const uint8_t> mask, RunRows& material) const;

  const MaskSettings settings_;
  const ChannelFalloff falloff_;
  std::optional<ChannelFiller> filler_;  // made for the first picture
  RunRows material_;
  RunRows below_;        // the last layer done
  uint32_t layers_ = 0;  // done so far
};

}  // namespace stiltforge::slicing
