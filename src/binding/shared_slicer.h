#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <utility>

#include "slicing/mask_slicer.h"
#include "slicing/slice_source.h"

namespace stiltforge::binding {

/// A slicer that the jobs of its own object and of several models use, each with the lock held
/// while it slices. No thread waits for more than the slices of another's job.
struct SharedSlicer {
  explicit SharedSlicer(std::unique_ptr<slicing::SliceSource> source)
      : slicer(*source), source_(std::move(source)) {}

  std::mutex mutex;
  slicing::SliceSource& slicer;

 private:
  std::unique_ptr<slicing::SliceSource> source_;
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
