#include "reference/parameters.h"

#include "reference/conversions.h"

namespace stiltforge::reference {

Parameters parametersFrom(const std::map<std::string, double>& values) {
  const auto number = [&](const char* key) { return static_cast<float>(values.at(key)); };
  Parameters p;
  p.addSupport = values.at("addSupport") != 0.0;
  p.supportStrength = number("supportStrength");
  p.growthStrength = number("growthStrength");
  p.strengthTransmited = number("strengthTransmited");
  p.firstSupportMinStrength = number("firstSupportMinStrength");
  p.numberOfSamplePerSupport = number("numberOfSamplePerSupport");
  p.numberOfSamplePerVoronoi = number("numberOfSamplePerVoronoi");
  p.ghostPart = number("ghostPart");
  p.strokePart = number("strokePart");
  p.anglePart = number("anglePart");
  p.maxSupportRadiusInIsland = number("maxSupportRadiusInIsland");
  p.islandSupportMultiplier = number("islandSupportMultiplier");
  p.islandStrengthSupport = number("islandStrengthSupport");
  p.strengthOfPlatePixel = number("strengthOfPlatePixel");
  p.ghostRadius = number("ghostRadius");
  p.maxVoronoiIteration = number("maxVoronoiIteration");
  p.validationDistanceFormVoronoi = number("validationDistanceFormVoronoi");
  p.distCloseToIsland = number("distCloseToIsland");
  p.closeToIslandStrengthTransmited = number("closeToIslandStrengthTransmited");
  p.almostNotBlueCounterLimit = number("almostNotBlueCounterLimit");
  p.islandMinBlue = number("islandMinBlue");
  p.maxGhost = toInt32(number("maxGhost"));
  return p;
}

}  // namespace stiltforge::reference
