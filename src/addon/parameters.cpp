#include "addon/parameters.h"

#include <string>
#include <type_traits>

#include "addon/slice_worker.h"
#include "analysis/flood_fill.h"
#include "analysis/support_inheritance.h"
#include "runtime/float_conversion.h"
#include "support/poisson.h"

namespace stiltforge {

namespace {

struct RequiredKey {
  const char* key;
  const char* named;  // the key that the message names
};

// Hosts match on these texts, so the message for addSupport keeps naming its neighbour.
constexpr RequiredKey requiredKeys[] = {
    {"width", "width"},
    {"height", "height"},
    {"numLayer", "numLayer"},
    {"needBuffer", "needBuffer"},
    {"addSupport", "needBuffer"},
    {"supportStrength", "supportStrength"},
    {"growthStrength", "growthStrength"},
    {"strengthTransmited", "strengthTransmited"},
    {"firstSupportMinStrength", "firstSupportMinStrength"},
    {"numberOfSamplePerSupport", "numberOfSamplePerSupport"},
    {"ghostPart", "ghostPart"},
    {"strokePart", "strokePart"},
    {"anglePart", "anglePart"},
    {"numberOfSamplePerVoronoi", "numberOfSamplePerVoronoi"},
    {"maxSupportRadiusInIsland", "maxSupportRadiusInIsland"},
    {"islandSupportMultiplier", "islandSupportMultiplier"},
    {"islandStrengthSupport", "islandStrengthSupport"},
    {"strengthOfPlatePixel", "strengthOfPlatePixel"},
    {"maxZGhost", "maxZGhost"},
    {"maxGhost", "maxGhost"},
    {"ghostRadius", "ghostRadius"},
    {"maxVoronoiIteration", "maxVoronoiIteration"},
    {"validationDistanceFormVoronoi", "validationDistanceFormVoronoi"},
    {"distCloseToIsland", "distCloseToIsland"},
    {"closeToIslandStrengthTransmited", "closeToIslandStrengthTransmited"},
    {"almostNotBlueCounterLimit", "almostNotBlueCounterLimit"},
    {"islandMinBlue", "islandMinBlue"},
    {"maxGhostValueToPlaceSupport", "maxGhostValueToPlaceSupport"},
};

// The host's value in the type of the target; a double holds all of these exactly.
double convert(const Napi::Value& value, const SettingTarget& target) {
  return std::visit(
      [&](auto* slot) -> double {
        using T = std::remove_pointer_t<decltype(slot)>;
        if constexpr (std::is_same_v<T, bool>) {
          return value.As<Napi::Boolean>().Value() ? 1 : 0;
        } else if constexpr (std::is_same_v<T, float>) {
          return static_cast<float>(value.As<Napi::Number>().DoubleValue());
        } else if constexpr (std::is_same_v<T, int32_t>) {
          return toInt32(static_cast<float>(value.As<Napi::Number>().DoubleValue()));
        } else {
          return static_cast<T>(value.As<Napi::Number>().Uint32Value());
        }
      },
      target);
}

}  // namespace

const std::vector<Setting>& sliceSettings() {
  static const std::vector<Setting> settings = {
      {"width", &SliceWorker::width},           {"height", &SliceWorker::height},
      {"numLayer", &SliceWorker::sliceCount},   {"supportStrength", &SliceWorker::supportStrength},
      {"needBuffer", &SliceWorker::needBuffer}, {"addSupport", &SliceWorker::addSupport},
  };
  return settings;
}

const std::vector<Setting>& analysisSettings() {
  static const std::vector<Setting> settings = {
      {"maxGhost", &SupportInheritance::maxGhost},
      {"maxZGhost", &SupportInheritance::maxZGhost},
      {"strengthOfPlatePixel", &Poisson::strengthOfPlatePixel},
      {"supportStrength", &Poisson::supportStrength},
      {"growthStrength", &Poisson::growthStrength},
      {"strengthTransmited", &Poisson::strengthTransmited},
      {"firstSupportMinStrength", &Poisson::firstSupportMinStrength},
      {"numberOfSamplePerSupport", &Poisson::numberOfSamplePerSupport},
      {"numberOfSamplePerVoronoi", &Poisson::numberOfSamplePerVoronoi},
      {"islandSupportMultiplier", &Poisson::islandSupportMultiplier},
      {"islandStrengthSupport", &Poisson::islandStrengthSupport},
      {"validationDistanceFormVoronoi", &Poisson::validationDistanceFormVoronoi},
      {"maxVoronoiIteration", &Poisson::maxVoronoiIteration},
      {"ghostRadius", &Poisson::ghostRadius},
      {"maxSupportRadiusInIsland", &Poisson::maxSupportRadiusInIsland},
      {"distCloseToIsland", &Poisson::distCloseToIsland},
      {"closeToIslandStrengthTransmited", &Poisson::closeToIslandStrengthTransmited},
      {"anglePart", &Poisson::anglePart},
      {"ghostPart", &Poisson::ghostPart},
      {"strokePart", &Poisson::strokePart},
      {"almostNotBlueCounterLimit", &FloodFill::almostNotBlueCounterLimit},
      {"islandMinBlue", &FloodFill::islandMinBlue},
      {"maxGhostValueToPlaceSupport", &Poisson::maxGhostValueToPlaceSupport},
  };
  return settings;
}

void requireAllKeys(const Napi::Object& parameters) {
  for (const RequiredKey& required : requiredKeys) {
    if (!parameters.Has(required.key)) {
      throw Napi::Error::New(parameters.Env(),
                             std::string("Object need argument \"") + required.named + "\"");
    }
  }
}

void PendingSettings::read(const Napi::Object& parameters, const std::vector<Setting>& settings) {
  for (const Setting& setting : settings) {
    const Napi::Value value = parameters.Get(setting.key);
    pending.push_back({setting.target, convert(value, setting.target)});
  }
}

void PendingSettings::store() const {
  for (const Pending& p : pending) {
    std::visit(
        [&](auto* slot) { *slot = static_cast<std::remove_pointer_t<decltype(slot)>>(p.value); },
        p.target);
  }
}

}  // namespace stiltforge
