#include "model/parameters.h"

#include <cstring>
#include <type_traits>

#include "runtime/float_conversion.h"

namespace stiltforge {

namespace {

constexpr double largestFloat = 3.4e38;
// A count goes through single precision: the largest that stays below 2^31 there.
constexpr double largestCount = 2147483520.0;

// Hosts match on the texts that name a missing key, so the one for addSupport keeps naming its
// neighbour.
constexpr Parameter table[] = {
    {"width", "width", &ModelParameters::width, 1, 65535, "pixels", "Width of every slice"},
    {"height", "height", &ModelParameters::height, 1, 65535, "pixels", "Height of every slice"},
    {"numLayer", "numLayer", &ModelParameters::numLayer, 0, 4294967295.0, "layers",
     "Slices of the model; told back in each result, used for nothing else"},
    {"needBuffer", "needBuffer", &ModelParameters::needBuffer, 0, 1, "flag",
     "Results carry the labelled pixels, the markers and the support values"},
    {"addSupport", "needBuffer", &ModelParameters::addSupport, 0, 1, "flag",
     "Supports are placed; without it results tell only the regions and what they rest on"},
    {"supportStrength", "supportStrength", &Settings::supportStrength, 0, largestFloat, "area",
     "Area that one support holds"},
    {"growthStrength", "growthStrength", &Settings::growthStrength, 0, largestFloat, "factor",
     "A rest of weight below the strength from below / this is forgiven"},
    {"strengthTransmited", "strengthTransmited", &Settings::strengthTransmited, 0, largestFloat,
     "factor", "How far strength from below counts against the weight, away from islands"},
    {"firstSupportMinStrength", "firstSupportMinStrength", &Settings::firstSupportMinStrength, 0,
     largestFloat, "factor", "A rest of weight below supportStrength / this is forgiven"},
    {"numberOfSamplePerSupport", "numberOfSamplePerSupport", &Settings::numberOfSamplePerSupport, 0,
     largestFloat, "count", "Samples looked at for each support"},
    {"ghostPart", "ghostPart", &Settings::ghostPart, 0, largestFloat, "weight",
     "Weight of earlier supports in a sample's score"},
    {"strokePart", "strokePart", &Settings::strokePart, 0, largestFloat, "weight",
     "Weight of the contour in a sample's score"},
    {"anglePart", "anglePart", &Settings::anglePart, 0, largestFloat, "weight",
     "Weight of the support value in a sample's score"},
    {"numberOfSamplePerVoronoi", "numberOfSamplePerVoronoi", &Settings::numberOfSamplePerVoronoi, 0,
     largestFloat, "area", "Area of the best candidates kept for each support"},
    {"maxSupportRadiusInIsland", "maxSupportRadiusInIsland", &Settings::maxSupportRadiusInIsland, 0,
     largestFloat, "pixels", "An island that reaches further from its supports gets more"},
    {"islandSupportMultiplier", "islandSupportMultiplier", &Settings::islandSupportMultiplier, 0,
     largestFloat, "factor", "Factor on the number of supports under an island"},
    {"islandStrengthSupport", "islandStrengthSupport", &Settings::islandStrengthSupport, 0,
     largestFloat, "factor", "Factor on the strength of a support under an island"},
    {"strengthOfPlatePixel", "strengthOfPlatePixel", &Settings::strengthOfPlatePixel, 0,
     largestFloat, "factor", "Strength of each pixel of the first layer"},
    {"maxZGhost", "maxZGhost", &Settings::maxZGhost, 0, largestFloat, "layers",
     "Age at which a listed earlier support is retired"},
    {"maxGhost", "maxGhost", &Settings::maxGhost, 0, largestCount, "count",
     "Most earlier supports that a region remembers"},
    {"ghostRadius", "ghostRadius", &Settings::ghostRadius, 0, 4096, "pixels",
     "How far an earlier support discourages new ones"},
    {"maxVoronoiIteration", "maxVoronoiIteration", &Settings::maxVoronoiIteration, 0, largestFloat,
     "count", "Rounds of relaxation"},
    {"validationDistanceFormVoronoi", "validationDistanceFormVoronoi",
     &Settings::validationDistanceFormVoronoi, 0, largestFloat, "pixels",
     "A support that moves no further in a round has settled"},
    {"distCloseToIsland", "distCloseToIsland", &Settings::distCloseToIsland, 0, largestFloat,
     "layers", "Layers that count as near an island"},
    {"closeToIslandStrengthTransmited", "closeToIslandStrengthTransmited",
     &Settings::closeToIslandStrengthTransmited, 0, largestFloat, "factor",
     "How far strength from below counts against the weight, near islands"},
    {"almostNotBlueCounterLimit", "almostNotBlueCounterLimit", &Settings::almostNotBlueCounterLimit,
     0, largestFloat, "blue",
     "A region that would get no support gets one if a pixel's support value is below this"},
    {"islandMinBlue", "islandMinBlue", &Settings::islandMinBlue, 0, largestFloat, "blue",
     "The same near islands"},
    {"maxGhostValueToPlaceSupport", "maxGhostValueToPlaceSupport",
     &Settings::maxGhostValueToPlaceSupport, 0, largestFloat, "weight", "Stored, read by nothing"},
};

// The member that a target names, in whichever of the two structures it lives.
template <typename Parameters, typename T>
auto& memberOf(Parameters& parameters, T ModelParameters::*member) {
  return parameters.*member;
}
template <typename Parameters, typename T>
auto& memberOf(Parameters& parameters, T Settings::*member) {
  return parameters.settings.*member;
}

}  // namespace

std::span<const Parameter> parameterTable() {
  return table;
}

const Parameter* findParameter(const char* name) {
  for (const Parameter& parameter : table) {
    if (std::strcmp(parameter.name, name) == 0) return &parameter;
  }
  return nullptr;
}

void storeParameter(ModelParameters& parameters, const Parameter& parameter, double value) {
  std::visit(
      [&](auto member) {
        auto& slot = memberOf(parameters, member);
        using T = std::remove_reference_t<decltype(slot)>;
        if constexpr (std::is_same_v<T, bool>) {
          slot = value != 0;
        } else if constexpr (std::is_same_v<T, float>) {
          slot = static_cast<float>(value);
        } else if constexpr (std::is_same_v<T, int32_t>) {
          slot = toInt32(static_cast<float>(value));
        } else {
          slot = static_cast<T>(toUint32(value));
        }
      },
      parameter.target);
}

double storedParameter(const ModelParameters& parameters, const Parameter& parameter) {
  return std::visit([&](auto member) { return static_cast<double>(memberOf(parameters, member)); },
                    parameter.target);
}

}  // namespace stiltforge
