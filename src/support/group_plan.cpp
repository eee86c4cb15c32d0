#include "support/group_plan.h"

#include <cmath>
#include <limits>

#include "runtime/float_conversion.h"

namespace stiltforge {

void GroupPlanner::Unbounded::count(float lower, const Settings& settings) {
  strength += !std::isfinite(lower);
  transmitted += !std::isfinite(settings.strengthTransmited * lower);
  closeToIsland += !std::isfinite(lower * settings.closeToIslandStrengthTransmited);
}

GroupPlanner::GroupPlanner(const Layer& layer, const Layer* below, const Settings& settings)
    : layer_(layer), below_(below), settings_(settings) {
  if (!below) return;
  for (std::size_t id = 1; id < below->groups.size(); ++id) {
    unbounded_.count(below->groups[id].pixelStrength, settings);
  }
}

void GroupPlanner::weigh(const Group& group, GroupPlan& plan) const {
  const auto distance = static_cast<float>(group.islandDistance);
  const bool isClose = distance < settings_.distCloseToIsland;
  const bool isAtDistance = distance == settings_.distCloseToIsland;
  const bool isFar = distance > settings_.distCloseToIsland;
  const bool hasUnsupported = group.unsupportedPixelCount != 0;
  Unbounded touched;
  for (uint32_t i = 0; i < group.overlapEntries; ++i) {
    const Layer::Overlap& overlap = layer_.overlaps[group.firstOverlap + i];
    const float lower = below_->groups[overlap.lower].pixelStrength;
    const auto shared = static_cast<float>(overlap.count);
    touched.count(lower, settings_);
    if (isClose) {
      plan.transmittedStrength += lower * shared;
      plan.remainingStrength -= hasUnsupported
                                    ? lower * settings_.closeToIslandStrengthTransmited * shared
                                    : lower * shared;
    } else if (isAtDistance) {
      // The raw overlap, without the lower group's strength and the factors, on purpose.
      plan.transmittedStrength += shared;
      plan.remainingStrength -= shared;
    } else if (isFar) {
      plan.transmittedStrength += shared * lower;
      plan.remainingStrength -= settings_.strengthTransmited * lower * shared;
    }
  }
  const bool untouchedStrength = touched.strength < unbounded_.strength;
  const bool untouchedTransmitted = touched.transmitted < unbounded_.transmitted;
  const bool untouchedCloseToIsland = touched.closeToIsland < unbounded_.closeToIsland;
  constexpr float spoiled = std::numeric_limits<float>::quiet_NaN();
  if ((isClose || isFar) && untouchedStrength) plan.transmittedStrength = spoiled;
  if ((isClose && (hasUnsupported ? untouchedCloseToIsland : untouchedStrength)) ||
      (isFar && untouchedTransmitted)) {
    plan.remainingStrength = spoiled;
  }
}

uint32_t GroupPlanner::supportCount(const Group& group, const GroupPlan& plan) const {
  const auto pixels = static_cast<float>(group.numPixel);
  const float remaining = plan.remainingStrength;
  const bool closeToIsland = static_cast<float>(group.islandDistance) < settings_.distCloseToIsland;
  const uint32_t fallback =
      (closeToIsland && group.islandBlueCount != 0) ||
              (group.almostNotBlueCount != 0 && group.unsupportedPixelCount != 0)
          ? 1
          : 0;
  if (group.unsupportedPixelCount == 0) return fallback;
  const bool isWeak = settings_.supportStrength / settings_.firstSupportMinStrength > remaining &&
                      remaining != pixels && !plan.isIsland;
  if (isWeak) return fallback;
  const auto count =
      static_cast<uint32_t>(toInt32(std::ceil(remaining / settings_.supportStrength)));
  const bool isHeld = plan.transmittedStrength / settings_.growthStrength > remaining &&
                      settings_.supportStrength > remaining;
  if (isHeld || count > group.unsupportedPixelCount || count == 0) return fallback;
  return count;
}

GroupPlan GroupPlanner::plan(const Group& group) const {
  GroupPlan plan;
  if (!below_ || group.numPixel == 1) return plan;
  plan.remainingStrength = static_cast<float>(group.numPixel);
  if (group.supportedPixel > 0) weigh(group, plan);
  if (plan.remainingStrength < 0) plan.remainingStrength = 0;
  plan.isIsland = group.supportedPixel <= 1;
  plan.count = plan.islandCount = supportCount(group, plan);
  if (plan.isIsland) {
    plan.strengthPerSupport = settings_.islandStrengthSupport;
    plan.islandCount = toUint32(static_cast<float>(plan.count) * settings_.islandSupportMultiplier);
  }
  return plan;
}

}  // namespace stiltforge
