#pragma once

#include <cstdint>
#include <mutex>
#include <span>

#include "slicing/mask_slicer.h"
#include "slicing/slicer.h"

namespace stiltforge::binding {

/// A slicer that the jobs of its own object and of several models use, each with the lock held
/// while it slices. No thread waits for more than the slices of another's job.
struct SharedSlicer {
  SharedSlicer(std::span<const float> positions, const slicing::SlicerSettings& settings)
      : slicer(positions, settings) {}

  std::mutex mutex;
  slicing::Slicer slicer;
};

/// The same of masks.
struct SharedMaskSlicer {
  explicit SharedMaskSlicer(const slicing::MaskSettings& settings)
      : width(settings.width), height(settings.height), slicer(settings) {}

  const uint32_t width;   ///< pixels of the slices
  const uint32_t height;  ///< pixels
  std::mutex mutex;
  slicing::MaskSlicer slicer;
};

}  // namespace stiltforge::binding
