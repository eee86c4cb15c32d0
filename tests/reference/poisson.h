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
  uint32_t generate_supports();

  // The steps, in the order in which generate_supports takes them.
  void set_pixel_strength();
  void set_lattice_steps();
  void fill_sample(bool retried);
  void stamp_ghosts();
  void score_samples();
  void cut_candidates();
  void seed_sites();
  void relax_sites();
  void snap_supports();
  bool enlarge_island();

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
  bool is_on_lattice(uint32_t dx, uint32_t dy) const;
  uint32_t nearest_support(const Voxel& voxel, float& distance2) const;
  void assign_sample(const Voxel& voxel);
  bool move_supports_to_centroids();
};

}  // namespace stiltforge::reference
