#include "addon/parameters.h"

#include <string>
#include <variant>

namespace stiltforge {

namespace {

constexpr ParameterRead readFirst[] = {
    {"width"}, {"height"}, {"numLayer"}, {"supportStrength", false}, {"needBuffer"}, {"addSupport"},
};

constexpr ParameterRead readAfterwards[] = {
    {"maxGhost"},
    {"maxZGhost"},
    {"strengthOfPlatePixel"},
    {"supportStrength"},
    {"growthStrength"},
    {"strengthTransmited"},
    {"firstSupportMinStrength"},
    {"numberOfSamplePerSupport"},
    {"numberOfSamplePerVoronoi"},
    {"islandSupportMultiplier"},
    {"islandStrengthSupport"},
    {"validationDistanceFormVoronoi"},
    {"maxVoronoiIteration"},
    {"ghostRadius"},
    {"maxSupportRadiusInIsland"},
    {"distCloseToIsland"},
    {"closeToIslandStrengthTransmited"},
    {"anglePart"},
    {"ghostPart"},
    {"strokePart"},
    {"almostNotBlueCounterLimit"},
    {"islandMinBlue"},
    {"maxGhostValueToPlaceSupport"},
};

// Converted as the target's type says; a double holds all of these exactly.
double numberOf(const Napi::Value& value, const ParameterTarget& target) {
  if (std::holds_alternative<bool ModelParameters::*>(target)) {
    return value.As<Napi::Boolean>().Value() ? 1 : 0;
  }
  const auto number = value.As<Napi::Number>();
  const bool isUnsigned = std::holds_alternative<uint16_t ModelParameters::*>(target) ||
                          std::holds_alternative<uint32_t ModelParameters::*>(target);
  return isUnsigned ? number.Uint32Value() : number.DoubleValue();
}

}  // namespace

std::span<const ParameterRead> sliceReads() {
  return readFirst;
}

std::span<const ParameterRead> analysisReads() {
  return readAfterwards;
}

void requireAllKeys(const Napi::Object& parameters) {
  for (const Parameter& required : parameterTable()) {
    if (!parameters.Has(required.name)) {
      throw Napi::Error::New(parameters.Env(), std::string("Object need argument \"") +
                                                   required.namedWhenMissing + "\"");
    }
  }
}

void PendingParameters::read(const Napi::Object& parameters, std::span<const ParameterRead> reads) {
  for (const ParameterRead& read : reads) {
    const Parameter* parameter = findParameter(read.name);
    const double value = numberOf(parameters.Get(read.name), parameter->target);
    if (read.isStored) pending.push_back({parameter, value});
  }
}

ModelParameters PendingParameters::applied(ModelParameters parameters) const {
  for (const Pending& p : pending) storeParameter(parameters, *p.parameter, p.value);
  return parameters;
}

}  // namespace stiltforge
