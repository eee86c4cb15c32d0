#pragma once

#include <cstdint>
#include <vector>

#include "analysis/run_rows.h"
#include "runtime/scratch_vector.h"
#include "slicing/overhang_distance.h"

namespace stiltforge::slicing {

/// Channel bytes of pixels by their distance to the nearest pixel of a set: exact, Euclidean,
/// between pixel centres.
class ProximityValues {
 public:
  /// The byte by squared distance in pixels, see ChannelFalloff; kept by reference. Beyond its last
  /// entry the byte is 0.
  explicit ProximityValues(const std::vector<uint8_t>& falloff);

  /// Replaces `values` by the bytes of `pixels` in raster order. Both sets have the same rows.
  void find(const RunRows& pixels, const RunRows& set, ScratchVector<uint8_t>& values);

 private:
  const std::vector<uint8_t>& falloff_;
  OverhangDistance distance_;
};

}  // namespace stiltforge::slicing
