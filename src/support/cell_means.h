#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "analysis/plane.h"
#include "support/nearest_site.h"

namespace stiltforge {

/// One cell of a group's partition: the running mean, in single precision, of the samples assigned
/// in the current iteration.
struct Voronoi {
  float sumX = 0;
  float sumY = 0;
  uint32_t count = 0;
};

/// Computes the running means of cells, several side by side: each is a chain of divisions that
/// must keep its order, but the chains of different cells need not wait for each other.
class CellMeans {
 public:
  /// The samples must outlive the object.
  CellMeans(const Plane<uint16_t>& sampleX, const Plane<uint16_t>& sampleY)
      : sampleX_(sampleX), sampleY_(sampleY) {}

  /// Queues a cell: the mean over intervals[order[k]] for k in [first, end), in that order. `cell`
  /// is written by a later add() or by finish(); all arguments must live until then.
  void add(const std::vector<SiteInterval>& intervals, const uint32_t* first, const uint32_t* end,
           Voronoi& cell);
  /// Completes the cells that are still in work.
  void finish();

 private:
  static constexpr std::size_t laneCount = 4;

  struct Lane {
    Voronoi* cell = nullptr;
    const SiteInterval* intervals = nullptr;
    const uint32_t* next = nullptr;
    const uint32_t* end = nullptr;
    const uint16_t* x = nullptr;  // of the current interval
    uint32_t left = 0;
    float y = 0;
    Voronoi mean;
  };

  void load(Lane& lane) const;
  void advance();
  void addSamples(uint32_t steps);

  const Plane<uint16_t>& sampleX_;
  const Plane<uint16_t>& sampleY_;
  std::array<Lane, laneCount> lanes_;
  std::size_t used_ = 0;
};

}  // namespace stiltforge
