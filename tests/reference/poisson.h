#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "reference/ghost_spread.h"
#include "reference/parameters.h"
#include "reference/slice_model.h"

namespace stiltforge::reference {

// Places the supports of one group: candidates on a staggered lattice, scored from ghost coverage,
// blue and green, seeded and relaxed as Voronoi cells (Lloyd), snapped back onto candidates.
class Poisson {
 public:
  // `layers` is the history up to and including `layer`.
  Poisson(Group& group, const Layer& layer, const std::vector<Layer>& layers,
          const Parameters& parameters, const GhostSpread& ghostSpread);

  // Fills the group's supports, samples, norms and pixelStrength; returns the supports kept.
  uint32_t generateSupports();

  // The steps, in the order in which generateSupports takes them.
  void setPixelStrength();
  void setLatticeSteps();
  void fillSample(bool retried);
  void stampGhosts();
  void scoreSamples();
  void cutCandidates();
  void seedSites();
  void relaxSites();
  void snapSupports();
  bool enlargeIsland();

  Group& group;
  const Layer& layer;
  const std::vector<Layer>& layers;
  const Parameters& parameters;
  const GhostSpread& ghostSpread;
  uint32_t groupWidth;
  uint32_t groupHeight;
  uint32_t sampleCount = 0;
  float transmittedStrength = 0.0f;
  uint32_t maxDist2 = 0;  // islands only: largest squared distance from a sample to its support
  std::vector<Voxel*> candidates;
  std::vector<std::unique_ptr<Voronoi>> voronois;
  uint32_t nbSupport = 0;      // supports to place
  uint32_t nbSupportBase = 0;  // supports that count for the group's strength
  float strengthPerSupport = 1.0f;
  uint32_t stepX = 1;
  uint32_t stepY = 1;
  bool isIsland = false;
  bool secondPass = false;

 private:
  bool isOnLattice(uint32_t dx, uint32_t dy) const;
  uint32_t nearestSupport(const Voxel& voxel, float& distance2) const;
  void assignSample(const Voxel& voxel);
  bool moveSupportsToCentroids();
};

}  // namespace stiltforge::reference
