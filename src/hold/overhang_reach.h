#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "hold/overhang_cells.h"
#include "hold/place.h"
#include "hold/point_grid.h"
#include "hold/survey.h"

namespace stiltforge::hold {

/// How much of a part's overhang lies within a reach of some points, straight through air and
/// material: as the judge measures it, but in cells.
class OverhangReach {
 public:
  /// reach: mm.
  OverhangReach(const Survey& survey, double reach);

  void add(const Place& place);
  void remove(const Place& place);
  /// Pixels that a point there would reach and that no point does yet.
  uint64_t gainOf(const Place& place) const;
  /// Pixels that no point but the one there reaches; it was added.
  uint64_t lossOf(const Place& place) const;

  /// Looks, once some points are there, how much more others could reach: those at the places where
  /// one mayStand(place).
  void findReachable(const PointGrid& places, const std::function<bool(uint32_t)>& mayStand);
  /// Whether that share of it is within reach, with so many pixels less than are. What no support
  /// could reach counts, too, as long as the rest suffices. findReachable() comes before.
  bool isEnough(double share, uint64_t loss = 0) const;

  /// Of each of the places, whether a point there would reach what no point does yet.
  std::vector<uint8_t> areNearOpen(const PointGrid& places) const;

 private:
  template <class Fn>
  void forEachWithin(const Place& place, Fn&& fn) const {
    cells_.forEachNear(place, reach_, fn);
  }

  double reach_;
  PointGrid cells_;
  std::vector<uint32_t> pixels_;  // by cell
  std::vector<uint32_t> points_;  // that reach each cell
  uint64_t whole_ = 0;
  uint64_t reachable_ = 0;
  uint64_t reached_ = 0;
};

}  // namespace stiltforge::hold
