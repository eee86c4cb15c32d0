#pragma once

#include <cstdint>
#include <vector>

#include "analysis/layer.h"

namespace stiltforge {

class WorkerPool;

/// Places the support points of one group: candidates on a staggered lattice, scored, cut, seeded and
/// relaxed as Voronoi cells (Lloyd's algorithm), snapped back onto candidates. See generateSupports().
class Poisson {
 public:
  static inline float supportStrength = 0;
  static inline float growthStrength = 0;
  static inline float strengthTransmited = 0;
  static inline float firstSupportMinStrength = 0;
  static inline float numberOfSamplePerSupport = 0;
  static inline float numberOfSamplePerVoronoi = 0;
  static inline float ghostPart = 0;
  static inline float strokePart = 1.0f;
  static inline float anglePart = 0.5f;
  static inline float maxSupportRadiusInIsland = 60.0f;
  static inline float islandSupportMultiplier = 1.0f;
  static inline float islandStrengthSupport = 1.0f;
  static inline float strengthOfPlatePixel = 1.0f;
  static inline float ghostRadius = 60.0f;
  static inline float maxVoronoiIteration = 1.0f;
  static inline float validationDistanceFormVoronoi = 1.0f;
  static inline float distCloseToIsland = 2.0f;
  static inline float closeToIslandStrengthTransmited = 1.2f;
  static inline float maxGhostValueToPlaceSupport = 1.0f;

  /// Row-major square of side ceil(2 * ghostRadius): the cone that a ghost support at the centre
  /// spreads, 255 at the centre, 0 at and beyond ghostRadius.
  static inline std::vector<float> ghostSpread;
  /// Largest ghostRadius that createGhostSpread() accepts, pixels: its table takes 512 MiB.
  static constexpr float maxGhostRadius = 4096.0f;

  /// Rebuilds ghostSpread from ghostRadius. Throws std::length_error beyond maxGhostRadius.
  static void createGhostSpread();
};

}  // namespace stiltforge
