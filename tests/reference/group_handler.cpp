#include "reference/group_handler.h"

#include <cmath>

#include "reference/conversions.h"
#include "reference/poisson.h"

namespace stiltforge::reference {
namespace {

void takeStrengthFromBelow(SupportNeed& need, const Group& group, const Layer& below,
                           const Parameters& parameters) {
  const auto distance = static_cast<float>(group.islandDistance);
  const float close = parameters.distCloseToIsland;
  float& transmitted = need.transmittedStrength;
  float& remaining = need.remainingStrength;
  for (size_t j = 1; j < group.overlap.size(); ++j) {
    const auto w = static_cast<float>(group.overlap[j]);
    const float s = below.groups[j]->pixelStrength;
    if (distance < close) {
      transmitted += s * w;
      if (group.unsupportedPixelCount != 0) {
        remaining -= (s * parameters.closeToIslandStrengthTransmited) * w;
      } else {
        remaining -= s * w;
      }
    } else if (distance == close) {
      transmitted += w;
      remaining -= w;
    } else if (distance > close) {
      transmitted += w * s;
      remaining -= (parameters.strengthTransmited * s) * w;
    }
  }
  if (remaining < 0.0f) remaining = 0.0f;
}

uint32_t countSupports(const SupportNeed& need, const Group& group, const Parameters& parameters) {
  const float rem = need.remainingStrength;
  const float strength = parameters.supportStrength;
  const bool closeIsland =
      static_cast<float>(group.islandDistance) < parameters.distCloseToIsland &&
      group.islandBlueCount != 0;
  const bool weakBlue = group.almostNotBlueCount != 0 && group.unsupportedPixelCount != 0;
  const uint32_t fallback = closeIsland || weakBlue ? 1 : 0;

  const bool weak = group.unsupportedPixelCount == 0 ||
                    (strength / parameters.firstSupportMinStrength > rem &&
                     rem != static_cast<float>(group.numPixel) && !need.isIsland);
  if (weak) return fallback;
  const auto count = static_cast<uint32_t>(toInt32(std::ceil(rem / strength)));
  const bool carried = need.transmittedStrength / parameters.growthStrength > rem && strength > rem;
  if (carried || count > group.unsupportedPixelCount) return fallback;
  return count != 0 ? count : fallback;
}

}  // namespace

SupportNeed supportNeed(const Group& group, const std::vector<Layer>& layers,
                        const Parameters& parameters) {
  SupportNeed need;
  if (layers.size() == 1 || group.numPixel == 1) return need;

  need.remainingStrength = static_cast<float>(group.numPixel);
  if (group.supportedPixel == 0) {
    need.isIsland = true;
  } else {
    takeStrengthFromBelow(need, group, layers[layers.size() - 2], parameters);
    if (group.supportedPixel == 1) need.isIsland = true;
  }

  need.nbSupport = need.nbSupportBase = countSupports(need, group, parameters);
  if (need.isIsland) {
    need.strengthPerSupport = parameters.islandStrengthSupport;
    need.nbSupport =
        toUint32(static_cast<float>(need.nbSupportBase) * parameters.islandSupportMultiplier);
  }
  return need;
}

uint32_t supportLayer(std::vector<Layer>& layers, const Parameters& parameters,
                      const GhostSpread& ghostSpread) {
  Layer& layer = layers.back();
  uint32_t total = 0;
  for (size_t i = 1; i < layer.groups.size(); ++i) {
    Group& group = *layer.groups[i];
    const SupportNeed need = supportNeed(group, layers, parameters);
    Poisson poisson(group, layer, layers, parameters, ghostSpread);
    poisson.isIsland = need.isIsland;
    poisson.transmittedStrength = need.transmittedStrength;
    poisson.strengthPerSupport = need.strengthPerSupport;
    poisson.nbSupport = need.nbSupport;
    poisson.nbSupportBase = need.nbSupportBase;
    total += poisson.generateSupports();
  }
  return total;
}

}  // namespace stiltforge::reference
