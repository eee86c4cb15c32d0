#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "analysis/layer.h"
#include "analysis/settings.h"
#include "support/candidate_sort.h"
#include "support/ghost_spread.h"
#include "support/group_overhang.h"
#include "support/sample_field.h"

namespace stiltforge {

/// Places the support points of one group: candidates on a staggered lattice, scored, cut, seeded
/// and relaxed as Voronoi cells (S. Lloyd, "Least squares quantization in PCM", 1982), snapped back
/// onto candidates. There is no random source. Built for one call of generateSupports().
class Poisson {
 public:
  const Settings* settings = nullptr;
  const GhostSpread* ghostSpread = nullptr;  ///< created
  Group* group = nullptr;
  const Layer* layer = nullptr;
  /// The group's overhang; read only when supports are to be placed.
  const std::vector<OverhangSpan>* overhang = nullptr;
  std::size_t layerCount = 0;     ///< layers in the history, this one included
  float transmittedStrength = 0;  ///< strength that the lower groups pass up into this group
  uint32_t nbSupport = 0;         ///< supports to place; afterwards, supports kept
  uint32_t nbSupportBase = 0;     ///< the count that enters the strength formula
  float strengthPerSupport = 1.0f;
  bool isIsland = false;  ///< supports are reported as minima; a second, enlarged pass may run

  /// Sets the group's pixelStrength, and where nbSupport is not 0 its supports and sample
  /// record. Returns nbSupport.
  uint32_t generateSupports();

 private:
  uint32_t placeOnce();
  void updatePixelStrength();
  void keepRecord();
  ScratchVector<Candidate> bestCandidates() const;
  void placeOn(const ScratchVector<Candidate>& candidates);
  std::optional<uint32_t> enlargedCount() const;

  std::optional<SampleField> field_;
  bool secondPass_ = false;
  uint32_t maxDist2_ = 0;  // islands: largest squared distance of a sample from its site
};

}  // namespace stiltforge
