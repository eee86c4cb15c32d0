#include "print/hold_settings.h"

#include <algorithm>
#include <cmath>

#include "slicing/channel_falloff.h"

namespace stiltforge {

namespace {

constexpr double mostLayers = 65535;
// Surfaces just at the critical angle must not count by the rounding of their pixels.
constexpr double steeperThanCritical = 1.1;
// A surface that grows by more in one step of the survey's samples is not steep for any angle that
// a printer knows; looking that far takes time in proportion.
constexpr double longestSteepReach = 1024;  // pixels
// Distances of fewer cannot be told.
constexpr double leastReach = 10;  // pixels

}  // namespace

hold::SurveySettings surveySettings(const PrintSettings& print) {
  hold::SurveySettings settings;
  settings.pixelSize = print.pixelSize;
  settings.layerHeight = print.layerHeight;
  settings.firstLayerHeight = print.firstLayerHeight;
  settings.minimumHeight = std::min(print.minimumHeight, mostLayers * print.layerHeight);
  // As many samples lie within reach of a point, whatever it holds: their pairs take the time.
  settings.sampleSize *= std::sqrt(std::max(print.supportArea / PrintSettings().supportArea, 1.0));
  const double step =
      std::max(settings.sampleHeight, 4 * settings.pixelSize) + settings.layerHeight;
  settings.steepness =
      std::min(steeperThanCritical / slicing::tangentOfDegrees(print.criticalAngle),
               longestSteepReach * settings.pixelSize / step);
  return settings;
}

hold::FinishSettings finishSettings(const PrintSettings& print) {
  auto settings = hold::FinishSettings::forSupportArea(print.supportArea);
  settings.spacing = print.minimumSpacing.value_or(settings.spacing);
  return settings;
}

hold::JudgeSettings judgeSettings(const PrintSettings& print, double spacing) {
  hold::JudgeSettings settings;
  const double least = leastReach * print.pixelSize;
  settings.nearReach = std::max(settings.nearReach, least);
  settings.farReach = std::max(settings.farReach, least);
  settings.spacing = std::min(settings.spacing, spacing);
  return settings;
}

}  // namespace stiltforge
