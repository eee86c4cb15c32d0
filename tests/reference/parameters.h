#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace stiltforge::reference {

// The parameters that the analysis reads, named as their keys.
struct Parameters {
  bool addSupport = true;
  float supportStrength = 0.0f;
  float growthStrength = 0.0f;
  float strengthTransmited = 0.0f;
  float firstSupportMinStrength = 0.0f;
  float numberOfSamplePerSupport = 0.0f;
  float numberOfSamplePerVoronoi = 0.0f;
  float ghostPart = 0.0f;
  float strokePart = 1.0f;
  float anglePart = 0.5f;
  float maxSupportRadiusInIsland = 60.0f;
  float islandSupportMultiplier = 1.0f;
  float islandStrengthSupport = 1.0f;
  float strengthOfPlatePixel = 1.0f;
  float ghostRadius = 60.0f;
  float maxVoronoiIteration = 1.0f;
  float validationDistanceFormVoronoi = 1.0f;
  float distCloseToIsland = 2.0f;
  float closeToIslandStrengthTransmited = 1.2f;
  float almostNotBlueCounterLimit = 50.0f;
  float islandMinBlue = 50.0f;
  int32_t maxGhost = 200;
};

// Narrows the host's numbers to single precision. Throws std::out_of_range for a missing key.
Parameters parametersFrom(const std::map<std::string, double>& values);

}  // namespace stiltforge::reference
