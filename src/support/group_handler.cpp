#include "support/group_handler.h"

#include <algorithm>
#include <cmath>

#include "runtime/float_conversion.h"
#include "runtime/worker_pool.h"
#include "support/poisson.h"

namespace stiltforge {

namespace {

constexpr std::size_t groupsPerTask = 256;

// True when a product of a lower group's strength with 0 shared pixels is not 0.
bool isUnbounded(float strength) {
  return !std::isfinite(strength * Poisson::closeToIslandStrengthTransmited) ||
         !std::isfinite(strength * Poisson::strengthTransmited) || !std::isfinite(strength);
}

struct Plan {
  float remainingStrength = 0;
  float transmittedStrength = 0;
  uint32_t count = 0;
  uint32_t islandCount = 0;
  float strengthPerSupport = 1.0f;
  bool isIsland = false;
};

// What the layer below transmits to, and takes off, a group, lower group by lower group.
class StrengthFromBelow {
 public:
  StrengthFromBelow(const Group& group, Plan& plan)
      : plan_(plan),
        distance_(static_cast<float>(group.islandDistance)),
        hasUnsupported_(group.unsupportedPixelCount != 0) {
    plan_.remainingStrength = static_cast<float>(group.numPixel);
  }

  void add(float lowerStrength, float sharedPixels) {
    if (distance_ < Poisson::distCloseToIsland) {
      plan_.transmittedStrength += lowerStrength * sharedPixels;
      plan_.remainingStrength -=
          hasUnsupported_ ? lowerStrength * Poisson::closeToIslandStrengthTransmited * sharedPixels
                          : lowerStrength * sharedPixels;
    } else if (distance_ == Poisson::distCloseToIsland) {
      // The raw overlap, without the lower group's strength and the factors, on purpose.
      plan_.transmittedStrength += sharedPixels;
      plan_.remainingStrength -= sharedPixels;
    } else if (distance_ > Poisson::distCloseToIsland) {
      plan_.transmittedStrength += sharedPixels * lowerStrength;
      plan_.remainingStrength -= Poisson::strengthTransmited * lowerStrength * sharedPixels;
    }
  }

 private:
  Plan& plan_;
  float distance_;
  bool hasUnsupported_;
};

void planStrengths(const Group& group, const Layer& layer, const Layer& below,
                   bool lowerStrengthsAreBounded, Plan& plan) {
  if (group.supportedPixel == 0) {
    plan.isIsland = true;
    plan.remainingStrength = static_cast<float>(group.numPixel);
    return;
  }
  StrengthFromBelow strength(group, plan);
  const Layer::Overlap* overlap = layer.overlaps.data() + group.firstOverlap;
  const Layer::Overlap* const overlapEnd = overlap + group.overlapEntries;
  if (lowerStrengthsAreBounded) {
    for (; overlap != overlapEnd; ++overlap) {
      strength.add(below.groups[overlap->lower].pixelStrength, static_cast<float>(overlap->count));
    }
  } else {
    // An unbounded strength spoils the sum even of a group that does not touch it.
    for (uint32_t lower = 1; lower < group.overlapCount; ++lower) {
      const bool touches = overlap != overlapEnd && overlap->lower == lower;
      strength.add(below.groups[lower].pixelStrength,
                   touches ? static_cast<float>(overlap->count) : 0.0f);
      if (touches) ++overlap;
    }
  }
  if (plan.remainingStrength < 0) plan.remainingStrength = 0;
  plan.isIsland = group.supportedPixel == 1;
}

uint32_t supportCount(const Group& group, const Plan& plan) {
  const auto pixels = static_cast<float>(group.numPixel);
  const float remaining = plan.remainingStrength;
  const bool closeToIsland = static_cast<float>(group.islandDistance) < Poisson::distCloseToIsland;
  const uint32_t fallback =
      (closeToIsland && group.islandBlueCount != 0) ||
              (group.almostNotBlueCount != 0 && group.unsupportedPixelCount != 0)
          ? 1
          : 0;
  if (group.unsupportedPixelCount == 0) return fallback;
  const bool isWeak = Poisson::supportStrength / Poisson::firstSupportMinStrength > remaining &&
                      remaining != pixels && !plan.isIsland;
  if (isWeak) return fallback;
  const auto count =
      static_cast<uint32_t>(toInt32(std::ceil(remaining / Poisson::supportStrength)));
  const bool isHeld = plan.transmittedStrength / Poisson::growthStrength > remaining &&
                      Poisson::supportStrength > remaining;
  if (isHeld || count > group.unsupportedPixelCount || count == 0) return fallback;
  return count;
}

Plan planGroup(const Group& group, const std::vector<Layer>& layers,
               bool lowerStrengthsAreBounded) {
  Plan plan;
  if (layers.size() == 1 || group.numPixel == 1) return plan;
  planStrengths(group, layers.back(), layers[layers.size() - 2], lowerStrengthsAreBounded, plan);
  plan.count = plan.islandCount = supportCount(group, plan);
  if (plan.isIsland) {
    plan.strengthPerSupport = Poisson::islandStrengthSupport;
    plan.islandCount = toUint32(static_cast<float>(plan.count) * Poisson::islandSupportMultiplier);
  }
  return plan;
}

Poisson generatorFor(Group& group, const std::vector<Layer>& layers, const Plan& plan) {
  Poisson poisson;
  poisson.group = &group;
  poisson.layer = &layers.back();
  poisson.layerCount = layers.size();
  poisson.transmittedStrength = plan.transmittedStrength;
  poisson.nbSupport = plan.islandCount;
  poisson.nbSupportBase = plan.count;
  poisson.strengthPerSupport = plan.strengthPerSupport;
  poisson.isIsland = plan.isIsland;
  return poisson;
}

// The pixels of some groups, one list of spans a group, in raster order.
class GroupPixels {
 public:
  GroupPixels(const Layer& layer, const std::vector<uint32_t>& groups) : spans_(groups.size()) {
    constexpr uint32_t notWanted = 0xFFFFFFFF;
    std::vector<uint32_t> listOf(layer.groups.size(), notWanted);
    for (uint32_t i = 0; i < groups.size(); ++i) listOf[groups[i]] = i;
    for (uint32_t y = 0; y < layer.height; ++y) {
      for (uint32_t r = layer.rowRuns[y]; r < layer.rowRuns[y + 1]; ++r) {
        const SolidRun& run = layer.runs[r];
        const uint32_t list = listOf[run.group];
        if (list != notWanted) {
          spans_[list].push_back({static_cast<uint16_t>(y), run.begin, run.end});
        }
      }
    }
  }
  const std::vector<RowSpan>& operator[](std::size_t i) const { return spans_[i]; }

 private:
  std::vector<std::vector<RowSpan>> spans_;
};

}  // namespace

uint32_t GroupHandler::supportLayer() {
  Layer& layer = layers->back();
  const std::size_t groupCount = layer.groups.size();
  if (groupCount <= 1 || workers::count() == 0) return 0;
  bool lowerStrengthsAreBounded = true;
  if (layers->size() > 1) {
    for (const Group& lower : (*layers)[layers->size() - 2].groups) {
      lowerStrengthsAreBounded = lowerStrengthsAreBounded && !isUnbounded(lower.pixelStrength);
    }
  }

  // Most groups need no support: their strength is set here, and only the others become tasks.
  std::vector<Plan> plans(groupCount);
  workers::parallelFor((groupCount - 2) / groupsPerTask + 1, [&](std::size_t t) {
    const std::size_t end = std::min(groupCount, 1 + (t + 1) * groupsPerTask);
    for (std::size_t i = 1 + t * groupsPerTask; i < end; ++i) {
      plans[i] = planGroup(layer.groups[i], *layers, lowerStrengthsAreBounded);
      if (plans[i].islandCount == 0) {
        generatorFor(layer.groups[i], *layers, plans[i]).generateSupports();
      }
    }
  });
  std::vector<uint32_t> needy;
  for (uint32_t i = 1; i < groupCount; ++i) {
    if (plans[i].islandCount != 0) needy.push_back(i);
  }
  if (needy.empty()) return 0;

  const GroupPixels pixels(layer, needy);
  std::atomic<uint32_t> total{0};
  workers::parallelFor(needy.size(), [&](std::size_t i) {
    Group& group = layer.groups[needy[i]];
    try {
      Poisson poisson = generatorFor(group, *layers, plans[needy[i]]);
      poisson.pixels = &pixels[i];
      total += poisson.generateSupports();
    } catch (...) {
      // An island's second pass may fail where the first has placed supports.
      if (group.placement) group.placement->supports.clear();
      ++failedTasks;
    }
  });
  return total;
}

}  // namespace stiltforge
