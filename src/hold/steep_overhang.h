#pragma once

#include <cstdint>

#include "analysis/run_rows.h"
#include "hold/beyond_reach.h"

namespace stiltforge::hold {

/// Finds the overhang of a part in steps that do not depend on its layers and pixels: what comes in
/// some layers together, where it lies beyond a reach of the layer under them.
class SteepOverhang {
 public:
  /// layers: of a step, at least 1. reach: pixels.
  SteepOverhang(uint32_t layers, double reach);

  /// Takes the material of the next layer, bottom first, and replaces `overhang` by its pixels that
  /// overhang and that the layer before, `below`, does not have. The first layer has none.
  void add(const RunRows& material, const RunRows& below, RunRows& overhang);

 private:
  uint32_t layers_;
  BeyondReach beyond_;
  uint32_t layer_ = 0;
  RunRows carrier_;  // the layer under the step
};

}  // namespace stiltforge::hold
