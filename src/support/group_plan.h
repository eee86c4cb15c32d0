#pragma once

#include <cstdint>

#include "analysis/layer.h"
#include "analysis/settings.h"

namespace stiltforge {

/// How much of a group's weight nothing holds yet, and how many supports that calls for.
struct GroupPlan {
  float remainingStrength = 0;    ///< pixels that neither the layer below nor the plate holds
  float transmittedStrength = 0;  ///< strength that the lower groups pass up
  uint32_t count = 0;             ///< supports that the rest calls for
  uint32_t islandCount = 0;       ///< the same, times Settings::islandSupportMultiplier on islands
  float strengthPerSupport = 1.0f;
  bool isIsland = false;  ///< rests on one pixel at most
};

/// Plans the groups of one layer by what the layer below passes up to them.
///
/// Every lower group's strength takes part in every sum, with the number of pixels that it shares.
/// For a lower group that shares none this is a zero, unless its strength is infinite or no number:
/// such a product spoils the sum. How many lower groups are of that kind is counted once, so that a
/// group costs only the lower groups that it touches.
class GroupPlanner {
 public:
  /// `below` is null for the first layer of a model, which needs no supports.
  GroupPlanner(const Layer& layer, const Layer* below, const Settings& settings);

  GroupPlan plan(const Group& group) const;

 private:
  // Of some lower groups: those that spoil the sums by a product with 0.
  struct Unbounded {
    uint32_t strength = 0;       // the strength itself is not finite
    uint32_t transmitted = 0;    // its product with strengthTransmited
    uint32_t closeToIsland = 0;  // with closeToIslandStrengthTransmited
    void count(float lower, const Settings& settings);
  };

  void weigh(const Group& group, GroupPlan& plan) const;
  uint32_t supportCount(const Group& group, const GroupPlan& plan) const;

  const Layer& layer_;
  const Layer* below_;
  const Settings& settings_;
  Unbounded unbounded_;  // of all lower groups
};

}  // namespace stiltforge
