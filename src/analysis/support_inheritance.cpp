#include "analysis/support_inheritance.h"

#include <optional>
#include <ostream>
#include <unordered_set>

namespace stiltforge {

namespace {

// The ghosts that one group collects, in order, each once.
class GhostList {
 public:
  explicit GhostList(std::vector<Voxel*>& ghosts) : ghosts_(ghosts) {}

  // Offers what one lower group holds. Within it nothing stands twice, so only a second lower group
  // needs the look-up.
  void offerAll(Placement& lower) {
    if (!ghosts_.empty() && known_.empty()) known_.insert(ghosts_.begin(), ghosts_.end());
    const bool mayRepeat = !known_.empty();
    for (Voxel* ghost : lower.ghostSupports) offer(ghost, mayRepeat);
    for (Voxel& support : lower.supports) offer(&support, mayRepeat);
  }

 private:
  void offer(Voxel* ghost, bool mayRepeat) {
    if (mayRepeat && known_.count(ghost) != 0) return;
    if (ghost->toDelete) return;
    if (SupportInheritance::maxGhost > static_cast<int64_t>(ghosts_.size())) {
      ghosts_.push_back(ghost);
      if (mayRepeat) known_.insert(ghost);
    } else {
      refuse();
    }
  }

  static void refuse() {
    const int64_t maxGhost = SupportInheritance::maxGhost;
    if (maxGhost == 0) return;
    const int64_t next = int64_t{SupportInheritance::ghostIterator} + 1;
    SupportInheritance::ghostIterator = static_cast<int32_t>(next % maxGhost);
  }

  std::vector<Voxel*>& ghosts_;
  std::unordered_set<const Voxel*> known_;
};

}  // namespace

void SupportInheritance::inherite(Group& group) const {
  std::optional<GhostList> ghosts;
  for (uint32_t i = 0; i < group.overlapEntries; ++i) {
    const Layer::Overlap& overlap = layer->overlaps[group.firstOverlap + i];
    Placement* lower = previousLayer->groups[overlap.lower].placement.get();
    if (!lower || (lower->ghostSupports.empty() && lower->supports.empty())) continue;
    if (!ghosts) ghosts.emplace(group.ensurePlacement().ghostSupports);
    ghosts->offerAll(*lower);
  }
}

void SupportInheritance::retireGhosts(const Layer& layer, std::size_t historySize,
                                      std::ostream& out) {
  const std::size_t count = ghostSupportArray.size();
  for (std::size_t i = 0; i < count; ++i) {
    Voxel* ghost = ghostSupportArray[i];
    const bool hasNoMaterial = layer.isBackground(ghost->index);
    const bool isOld = static_cast<float>(historySize) - maxZGhost > static_cast<float>(ghost->z);
    if (!hasNoMaterial && !isOld) continue;
    ghost->toDelete = true;
    deleteGhostIndex.push_back(static_cast<int32_t>(i));
    out << "maxZGhost " << static_cast<double>(maxZGhost) << ' ' << (hasNoMaterial ? 1 : 0)
        << std::endl;
  }
}

}  // namespace stiltforge
