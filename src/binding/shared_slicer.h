#pragma once

#include <mutex>

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

}  // namespace stiltforge::binding
