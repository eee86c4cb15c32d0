#include "hold/finish_settings.h"

#include <cmath>
#include <numbers>
#include <stdexcept>
#include <string>

#include "runtime/number_text.h"

namespace stiltforge::hold {

FinishSettings FinishSettings::forSupportArea(double area) {
  FinishSettings settings;
  const double side = std::sqrt(area);
  settings.spacing = 0.4 * side;
  settings.reach = 0.775 * side;
  settings.farReach = 1.29 * side;
  settings.ownReach = std::sqrt(area / std::numbers::pi);
  settings.leastOwnArea = area / 2;
  settings.leastGap = area / 120;
  settings.margin = settings.leastGap;
  return settings;
}

void requireValid(const FinishSettings& settings) {
  const auto require = [](double value, double least, const char* what) {
    if (std::isfinite(value) && value >= least) return;
    throw std::invalid_argument(std::string(what) + " must be " + (least > 0 ? "1" : "0") +
                                " or more, not " + numberText(value));
  };
  require(settings.spacing, 0, "the spacing of points");
  require(settings.reach, 0, "the reach of a point");
  require(settings.farReach, 0, "the far reach of a point");
  require(settings.ownReach, 0, "the own reach of a point");
  require(settings.leastOwnArea, 0, "the least area of a point");
  require(settings.leastGap, 0, "the least gap");
  require(settings.margin, 0, "the margin of overhang within reach");
  require(settings.preference, 1, "the preference of the analysis's points");
  require(settings.islandHeight, 0, "the height that an island may grow alone");
  for (const double share : {settings.share, settings.farShare}) {
    if (share >= 0 && share <= 1) continue;
    throw std::invalid_argument("the share of overhang within reach must be from 0 to 1, not " +
                                numberText(share));
  }
}

}  // namespace stiltforge::hold
