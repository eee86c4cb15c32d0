#pragma once

#include "analysis/run_rows.h"

namespace stiltforge::slicing {

/// The pixels of a layer that others can lean on: all but lone ones, which touch no other pixel on
/// their sides and corners. The analysis places no support in a region of one pixel, so the tip of
/// a cone that starts with one would be held by nothing if the ring above it counted as carried.
class CarryingPixels {
 public:
  /// Valid until the next call, and as long as `layer`.
  const RunRows& of(const RunRows& layer);

 private:
  RunRows kept_;
};

}  // namespace stiltforge::slicing
