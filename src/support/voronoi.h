#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "analysis/plane.h"
#include "support/cell_means.h"
#include "support/nearest_site.h"

namespace stiltforge {

/// The supports of a group while they are relaxed towards the centroids of their cells.
///
/// Sites that start on one sample stay together while their cells are empty, and only the first of
/// them can win a sample: such a tail of idle sites is kept as a number, so that a count of
/// supports far beyond the samples costs nothing.
class VoronoiRelaxation {
 public:
  /// Samples in raster order; `sites` are the seeds (at least one), and `idleSites` more seeds lie
  /// where the last of them lies. The samples must outlive the object.
  VoronoiRelaxation(const Plane<uint16_t>& sampleX, const Plane<uint16_t>& sampleY,
                    std::vector<Site> sites, std::size_t idleSites);

  /// Iterates while maxIterations > iterations done and some site moves farther than
  /// `settledDistance`.
  void run(float maxIterations, float settledDistance);

  /// Sites, moved to the truncated centroids of their cells; an empty cell's lies at (0, 0).
  const std::vector<Site>& sites() const { return sites_; }
  /// Cells of the last iteration, parallel to sites(); count 0 when none ran.
  const std::vector<Voronoi>& cells() const { return cells_; }
  /// Largest squared distance of a sample from its site over all iterations.
  uint32_t maxDist2() const { return maxDist2_; }

 private:
  void assign();
  void accumulate();
  bool move(float settledDistance);

  const Plane<uint16_t>& sampleX_;
  const Plane<uint16_t>& sampleY_;
  std::vector<SampleRow> rows_;
  std::vector<Site> sites_;
  std::vector<Voronoi> cells_;
  std::size_t idleSites_;
  Site idleSite_;
  std::vector<SiteInterval> intervals_;
  uint32_t maxDist2_ = 0;
};

}  // namespace stiltforge
