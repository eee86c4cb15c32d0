#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "analysis/layer.h"
#include "analysis/plane.h"
#include "analysis/settings.h"
#include "support/ghost_stamp.h"
#include "support/group_overhang.h"
#include "support/sample_lattice.h"

namespace stiltforge {

/// The overhanging pixels of one group that the lattice holds, in raster order, and how badly each
/// needs a support.
class SampleField {
 public:
  /// All arguments must outlive the field. `overhang` is the group's.
  SampleField(const Settings& settings, const GhostSpread& spread, const Group& group,
              const Layer& layer, const std::vector<OverhangSpan>& overhang);

  /// Chooses the lattice for that many supports and samples it: places, scores (low = needs a
  /// support most) and the two norms. A second call keeps the lattice where nothing calls for
  /// another, and the norms where nothing exceeds them.
  void sample(uint32_t supports);

  const SampleLattice& lattice() const { return lattice_; }
  std::size_t size() const { return x_.size(); }
  const Plane<uint16_t>& x() const { return x_; }
  const Plane<uint16_t>& y() const { return y_; }
  const Plane<float>& scores() const { return score_; }
  /// The largest ghost sum and the largest score so far, at least 0.1.
  float ghostNorm() const { return ghostNorm_; }
  float scoreNorm() const { return scoreNorm_; }

 private:
  struct SpanRange;
  class RowBands;
  struct GhostTiles;

  void chooseSteps(uint32_t supports);
  void collect();
  template <typename Visit>
  void visitSamples(SpanRange spans, Visit visit) const;
  float ghostFloor() const;
  bool isLeftOut(uint16_t x, uint16_t y) const;
  template <typename Sum>
  float stampBand(const RowBands& bands, std::size_t band, const GhostTiles& tiles,
                  uint32_t firstSample, uint32_t endSample);
  void score();

  const Settings& settings_;
  const Group& group_;
  const Layer& layer_;
  const std::vector<OverhangSpan>& overhang_;
  const GhostStamp stamp_;

  SampleLattice lattice_;
  float ghostNorm_ = 0.1f;
  float scoreNorm_ = 0.1f;
  Plane<uint16_t> x_;
  Plane<uint16_t> y_;
  Plane<uint8_t> blue_;
  Plane<uint8_t> green_;
  Plane<float> score_;  // the ghost sum until score()
};

}  // namespace stiltforge
