#pragma once

#include <cstdint>
#include <vector>

#include "analysis/run_rows.h"

namespace stiltforge::hold {

/// Finds the overhang of a part in steps that do not depend on its layers and pixels: the material
/// of some layers together, where it lies beyond a reach of the layer under them.
class SteepOverhang {
 public:
  /// layers: of a step, at least 1. reach: pixels.
  SteepOverhang(uint32_t layers, double reach);

  /// Takes the material of the next layer, bottom first, and replaces `overhang` by its pixels that
  /// overhang and that no earlier layer of the step has. The first layer has none.
  void add(const RunRows& material, RunRows& overhang);

 private:
  void findCarried(Run run, int y);

  uint32_t layers_;
  double squaredReach_;
  int reach_;
  uint32_t layer_ = 0;
  RunRows carrier_;  // the layer under the step
  RunRows seen_;     // all material since then
  std::vector<Run> carried_;
};

}  // namespace stiltforge::hold
