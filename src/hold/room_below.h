#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

#include "analysis/run_rows.h"

namespace stiltforge::hold {

/// Tells whether there is room for a support below a place: `layers` layers without material
/// straight below it, the plate or the part only under them. Keeps the material of so many layers.
/// Down to the plate, whose layer may have another height, there must be `layersOnPlate` of them.
class RoomBelow {
 public:
  RoomBelow(uint32_t layers, uint32_t layersOnPlate)
      : layers_(layers), layersOnPlate_(layersOnPlate) {}
  explicit RoomBelow(uint32_t layers) : RoomBelow(layers, layers) {}

  /// Takes the material of the next layer, bottom first.
  void add(const RunRows& material);

  /// Layers without material straight below this pixel of the layer last added, down to material or
  /// the plate; no more than the constructor's number.
  uint32_t at(int x, int y) const;

  /// Whether there is room below this pixel.
  bool isBelow(int x, int y) const;

  /// Appends the parts of a run of row y of that layer that have room to the row of `roomy` that is
  /// not yet ended.
  void findRoom(Run run, int y, RunRows& roomy);

 private:
  uint32_t layers_;
  uint32_t layersOnPlate_;
  uint32_t layerCount_ = 0;
  std::deque<RunRows> below_;  // the last layers, the latest first
  std::vector<Run> rest_;
  std::vector<Run> next_;
};

}  // namespace stiltforge::hold
