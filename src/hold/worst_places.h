#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "hold/judge.h"
#include "hold/place.h"
#include "hold/point_grid.h"
#include "hold/scale.h"
#include "hold/survey.h"

namespace stiltforge::hold {

/// Steep overhang that no point reaches.
class Gaps {
 public:
  explicit Gaps(PointGrid empty) : grid_(std::move(empty)) {}

  void add(const OverhangSample& sample);
  /// Whether those within `reach` mm of the place have at least so many pixels.
  bool have(double leastPixels, const Place& place, double reach) const;

 private:
  PointGrid grid_;
  std::vector<uint32_t> pixels_;  // by number in the grid
};

/// Finds the places of an overhang that are furthest from all points. Measures only where such a
/// place may be: runs are kept in boxes, and a box is opened once nothing that was measured is
/// further from a point than anything in the box can be.
class WorstPlaces {
 public:
  /// Points and settings outlive it.
  WorstPlaces(const Survey& survey, const PointGrid& points, const JudgeSettings& settings);

  /// Adds the parts of an overhanging run of row y that lie beyond JudgeSettings::nearReach.
  /// Layers come bottom first.
  void add(std::span<const Run> beyond, uint16_t y, uint32_t layer);
  bool empty() const { return stretches_.empty(); }

  /// Of each run that was added the worst pixel, of equal ones the first; of these what
  /// Verdict::worst lists. Once.
  std::vector<WorstPlace> choose(const Gaps& gaps);

 private:
  // A run that was added.
  struct Stretch {
    uint32_t layer = 0;
    uint16_t y = 0;
    uint32_t firstPiece = 0;
    uint32_t endPiece = 0;
  };

  // Both corners belong to it.
  struct Box {
    uint32_t slab = 0;  // of layers
    Place low;
    Place high;
    std::vector<uint32_t> stretches;
    Place middle;
    double radius = 0;  // mm from the middle to the furthest corner
    double bound = 0;   // no pixel is further from its nearest point, mm2
  };

  // The worst pixel of a stretch.
  struct Candidate {
    uint32_t stretch = 0;
    WorstPlace place;  // with its squared distance

    bool isBehind(const Candidate& other) const {
      if (place.distance != other.place.distance) return place.distance < other.place.distance;
      return stretch > other.stretch;
    }
  };

  // A pixel, and how far it is from its nearest point.
  struct Measured {
    uint16_t x = 0;
    PointGrid::Nearest nearest;

    bool isWorseThan(const Measured& other) const {
      if (nearest.squaredDistance != other.nearest.squaredDistance) {
        return nearest.squaredDistance > other.nearest.squaredDistance;
      }
      return x < other.x;
    }
  };

  Box& boxHolding(uint16_t x, uint16_t y, uint32_t layer);
  void boundBoxes();
  bool mayHaveAny(const Box& box, const Gaps& gaps, std::span<const WorstPlace> listed) const;
  void open(const Box& box);
  WorstPlace worstOf(const Stretch& stretch);
  Measured measured(int32_t x, const Stretch& stretch, uint32_t near) const;
  Measured worstBetween(const Measured& first, const Measured& last, const Stretch& stretch) const;
  double squaredReach() const { return settings_.nearReach * settings_.nearReach; }

  const PointGrid& points_;
  const JudgeSettings& settings_;
  Scale scale_;
  double leastPixels_;
  uint32_t boxPixels_;
  uint32_t boxLayers_;
  uint32_t columns_;
  uint32_t rows_;
  std::vector<Run> pieces_;
  std::vector<Stretch> stretches_;
  std::vector<Box> boxes_;
  std::vector<uint32_t> boxOfCell_;     // the latest there
  std::vector<Candidate> candidates_;   // a heap, the worst in front
  uint32_t lastNearest_ = Place::none;  // of the pixel that was measured last
};

}  // namespace stiltforge::hold
