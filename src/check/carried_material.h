#pragma once

#include <cstdint>
#include <vector>

#include "check/reach.h"
#include "hold/components.h"

namespace stiltforge::check {

struct CarrySettings {
  double pixelWidth = 0;   ///< mm
  double pixelHeight = 0;  ///< mm
  /// mm that material carries itself outwards from one layer to the next.
  double growth = 0;
  double step = 0;     ///< mm
  uint32_t steps = 1;  ///< how far from what carries itself is told apart, 1 or more
};

/// Tells how far the material of a part is from what carries itself, as the part grows.
///
/// What lies on the plate, or on a point, carries itself, and so does what lies on that or grows
/// outwards from it by no more than `growth` a layer. Other material is as many steps away as it
/// takes from that, through the same region of a layer in straight lines of at most a step, and
/// upwards, where growth costs nothing. A thick overhang so recovers with its height, a thin one
/// gets further and further away.
class CarriedMaterial {
 public:
  explicit CarriedMaterial(const CarrySettings& settings);

  /// Takes the regions of the next layer that has any. carriesItself: by region, it does as a
  /// whole. points: pixels around the points of the layer, within the regions or not.
  void add(const hold::Components& regions, const std::vector<uint8_t>& carriesItself,
           const RunRows& points);

  /// Of the layer last added: the material that is more than so many steps away, 0 to `steps`.
  RunRows beyond(uint32_t steps) const;

 private:
  // The material within 0, 1, ... steps. Levels that are missing hold all of the material.
  struct Layer {
    RunRows material;
    std::vector<RunRows> within;

    const RunRows& level(uint32_t steps) const {
      return steps < within.size() ? within[steps] : material;
    }
  };
  RunRows findSelfCarried(const hold::Components& regions,
                          const std::vector<uint8_t>& carriesItself, const RunRows& points,
                          const Reach& reach);
  RunRows findNextStep(const hold::Components& regions, const RunRows& nearer, const RunRows& below,
                       const Reach& reach);
  Reach growthReach();

  CarrySettings settings_;
  Reach step_;
  double grownColumns_ = 0;
  double grownRows_ = 0;
  Layer layer_;
  Unreached rest_;
};

}  // namespace stiltforge::check
