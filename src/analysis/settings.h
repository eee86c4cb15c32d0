#pragma once

#include <cstdint>

namespace stiltforge {

/// What steers the analysis of a model. docs/parameters.md tells good values. An area is a number
/// of pixels, a strength the area that is held. Any number is taken, also where it makes no sense.
struct Settings {
  /// Blue, 0 to 255: pixels below it count in Group::almostNotBlueCount, islandBlueCount.
  float almostNotBlueCounterLimit = 50.0f;
  float islandMinBlue = 50.0f;

  /// Most ghosts that one group may hold.
  int32_t maxGhost = 200;
  /// Age, in layers, at which a listed ghost is retired.
  float maxZGhost = 1.0f;

  /// Area that one support holds.
  float supportStrength = 0;
  /// A rest below strength from below / this is forgiven.
  float growthStrength = 0;
  /// Share of strength passed up from layers not near an island.
  float strengthTransmited = 0;
  /// A rest below supportStrength / this is forgiven.
  float firstSupportMinStrength = 0;
  /// Factor on the supports of an island.
  float islandSupportMultiplier = 1.0f;
  /// Factor on the strength of each of them.
  float islandStrengthSupport = 1.0f;
  /// Strength of each pixel of the first layer.
  float strengthOfPlatePixel = 1.0f;
  /// Layers that count as near an island.
  float distCloseToIsland = 2.0f;
  /// Share of strength passed up near an island.
  float closeToIslandStrengthTransmited = 1.2f;

  /// Samples looked at for each support.
  float numberOfSamplePerSupport = 0;
  /// Area of the candidates kept for each support.
  float numberOfSamplePerVoronoi = 0;
  /// Weight of earlier supports in a score.
  float ghostPart = 0;
  /// Weight of the contour.
  float strokePart = 1.0f;
  /// Weight of the support value.
  float anglePart = 0.5f;
  /// Pixels; an island that reaches further gets more.
  float maxSupportRadiusInIsland = 60.0f;
  /// Pixels, reach of an earlier support, to GhostSpread::maxRadius.
  float ghostRadius = 60.0f;
  /// Rounds of relaxation.
  float maxVoronoiIteration = 1.0f;
  /// Pixels, of a site that has settled.
  float validationDistanceFormVoronoi = 1.0f;
  /// Stored, read by nothing.
  float maxGhostValueToPlaceSupport = 1.0f;
};

}  // namespace stiltforge
