#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "analysis/layer.h"
#include "support/candidate_sort.h"
#include "support/nearest_site.h"
#include "support/sample_lattice.h"

namespace stiltforge {

class GhostStamp;

/// Places the support points of one group: candidates on a staggered lattice, scored, cut, seeded
/// and relaxed as Voronoi cells (S. Lloyd, "Least squares quantization in PCM", 1982), snapped back
/// onto candidates. There is no random source. Built for one call of generateSupports().
class Poisson {
 public:
  // Settings; docs/parameters.md tells good values. An area is a number of pixels. Any float is
  // taken, also where it makes no sense.
  /// Area that one support holds.
  static inline float supportStrength = 0;
  /// A rest below strength from below / this is forgiven.
  static inline float growthStrength = 0;
  /// Share of strength passed up from layers not near an island.
  static inline float strengthTransmited = 0;
  /// A rest below supportStrength / this is forgiven.
  static inline float firstSupportMinStrength = 0;
  /// Samples looked at for each support.
  static inline float numberOfSamplePerSupport = 0;
  /// Area of the candidates kept for each support.
  static inline float numberOfSamplePerVoronoi = 0;
  /// Weight of earlier supports in a score.
  static inline float ghostPart = 0;
  /// Weight of the contour.
  static inline float strokePart = 1.0f;
  /// Weight of the support value.
  static inline float anglePart = 0.5f;
  /// Pixels; an island that reaches further gets more.
  static inline float maxSupportRadiusInIsland = 60.0f;
  /// Factor on the supports of an island.
  static inline float islandSupportMultiplier = 1.0f;
  /// Factor on the strength of each of them.
  static inline float islandStrengthSupport = 1.0f;
  /// Strength of each pixel of the first layer.
  static inline float strengthOfPlatePixel = 1.0f;
  /// Pixels, reach of an earlier support, to 4096.
  static inline float ghostRadius = 60.0f;
  /// Rounds of relaxation.
  static inline float maxVoronoiIteration = 1.0f;
  /// Pixels, of a site that has settled.
  static inline float validationDistanceFormVoronoi = 1.0f;
  /// Layers that count as near an island.
  static inline float distCloseToIsland = 2.0f;
  /// Share of strength passed up near an island.
  static inline float closeToIslandStrengthTransmited = 1.2f;
  /// Stored, read by nothing.
  static inline float maxGhostValueToPlaceSupport = 1.0f;

  /// Row-major square of side ceil(2 * ghostRadius): the cone that a ghost support at the centre
  /// spreads, 255 at the centre, 0 at and beyond ghostRadius.
  static inline std::vector<float> ghostSpread;
  /// Largest ghostRadius that createGhostSpread() accepts, pixels: its tables take 512 MiB.
  static constexpr float maxGhostRadius = 4096.0f;

  /// Rebuilds ghostSpread from ghostRadius. Throws std::length_error beyond maxGhostRadius.
  static void createGhostSpread();
  /// Frees the table; it must be created again before the next slice.
  static void releaseGhostSpread();

  Group* group = nullptr;
  const Layer* layer = nullptr;
  /// The group's pixels in raster order; read only when supports are to be placed.
  const std::vector<RowSpan>* pixels = nullptr;
  std::size_t layerCount = 0;     ///< layers in the history, this one included
  float transmittedStrength = 0;  ///< strength that the lower groups pass up into this group
  uint32_t nbSupport = 0;         ///< supports to place; afterwards, supports kept
  uint32_t nbSupportBase = 0;     ///< the count that enters the strength formula
  float strengthPerSupport = 1.0f;
  bool isIsland = false;  ///< supports are reported as minima; a second, enlarged pass may run

  /// Sets the group's pixelStrength, and where nbSupport is not 0 its supports, norms and sample
  /// record. Returns nbSupport.
  uint32_t generateSupports();

 private:
  struct SpanRange;
  class RowBands;

  uint32_t placeOnce();
  void updatePixelStrength();
  void chooseSteps();
  void collectSamples();
  void collectSamplesOnLattice();
  template <typename Visit>
  void visitSamples(SpanRange spans, Visit visit) const;
  float stampBand(const GhostStamp& stamp, const RowBands& bands, std::size_t band,
                  uint32_t firstSample, uint32_t endSample);
  void recordSamples();
  void scoreSamples();
  std::vector<Candidate> bestCandidates() const;
  bool needsEnlargement() const;

  SampleLattice lattice_;
  bool secondPass_ = false;
  uint32_t maxDist2_ = 0;  // islands: largest squared distance of a sample from its site

  // The samples on the lattice, in raster order.
  Plane<uint16_t> sampleX_;
  Plane<uint16_t> sampleY_;
  Plane<float> sampleScore_;  // the ghost sum until scoreSamples()
};

}  // namespace stiltforge
