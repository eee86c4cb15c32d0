#include "support/group_handler.h"

#include <algorithm>
#include <vector>

#include "runtime/worker_pool.h"
#include "support/group_overhang.h"
#include "support/group_plan.h"
#include "support/poisson.h"

namespace stiltforge {

namespace {

constexpr std::size_t groupsPerTask = 256;

}  // namespace

uint32_t GroupHandler::supportLayer() {
  const std::size_t groupCount = layer->groups.size();
  if (groupCount <= 1) return 0;
  const GroupPlanner planner(*layer, previousLayer, *settings);
  const auto generatorFor = [&](Group& group, const GroupPlan& plan) {
    Poisson poisson;
    poisson.settings = settings;
    poisson.ghostSpread = ghostSpread;
    poisson.group = &group;
    poisson.layer = layer;
    poisson.layerCount = layerCount;
    poisson.transmittedStrength = plan.transmittedStrength;
    poisson.nbSupport = plan.islandCount;
    poisson.nbSupportBase = plan.count;
    poisson.strengthPerSupport = plan.strengthPerSupport;
    poisson.isIsland = plan.isIsland;
    return poisson;
  };

  // Most groups need no support: their strength is set here, and only the others become tasks.
  std::vector<GroupPlan> plans(groupCount);
  workers::parallelFor((groupCount - 2) / groupsPerTask + 1, [&](std::size_t t) {
    const std::size_t end = std::min(groupCount, 1 + (t + 1) * groupsPerTask);
    for (std::size_t i = 1 + t * groupsPerTask; i < end; ++i) {
      Group& group = layer->groups[i];
      plans[i] = planner.plan(group);
      group.fromBelow = plans[i].transmittedStrength;
      group.owed = plans[i].remainingStrength;
      if (plans[i].islandCount == 0) generatorFor(group, plans[i]).generateSupports();
    }
  });
  std::vector<uint32_t> needy;
  layer->owedPixels = 0;
  for (uint32_t i = 1; i < groupCount; ++i) {
    layer->owedPixels += plans[i].remainingStrength;
    if (plans[i].islandCount != 0) needy.push_back(i);
  }
  if (needy.empty()) return 0;

  const std::vector<std::vector<OverhangSpan>> overhang = overhangOfGroups(*layer, needy);
  std::atomic<uint32_t> total{0};
  workers::parallelFor(needy.size(), [&](std::size_t i) {
    Group& group = layer->groups[needy[i]];
    try {
      Poisson poisson = generatorFor(group, plans[needy[i]]);
      poisson.overhang = &overhang[i];
      total += poisson.generateSupports();
    } catch (...) {
      // An island's second pass may fail where the first has placed supports.
      if (group.placement) group.placement->supports.clear();
      ++*failedTasks;
    }
  });
  return total;
}

}  // namespace stiltforge
