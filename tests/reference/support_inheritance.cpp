#include "reference/support_inheritance.h"

#include <algorithm>

namespace stiltforge::reference {
namespace {

void offer(Group& group, const Voxel* ghost, int32_t maxGhost) {
  auto& ghosts = group.ghostSupports;
  if (std::find(ghosts.begin(), ghosts.end(), ghost) != ghosts.end()) return;
  if (ghost->toDelete) return;
  if (int64_t{maxGhost} > static_cast<int64_t>(ghosts.size())) ghosts.push_back(ghost);
}

}  // namespace

void inheritSupports(Group& group, const Layer& previousLayer, int32_t maxGhost) {
  for (size_t i = 0; i < group.overlap.size(); ++i) {
    if (group.overlap[i] == 0) continue;
    const Group& lower = *previousLayer.groups[i];
    for (const Voxel* ghost : lower.ghostSupports) offer(group, ghost, maxGhost);
    for (const auto& support : lower.supports) offer(group, support.get(), maxGhost);
  }
}

}  // namespace stiltforge::reference
