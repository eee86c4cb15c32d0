#include "analysis/support_inheritance.h"

#include <optional>
#include <ostream>
#include <unordered_set>

namespace stiltforge {

namespace {

// The ghosts that one group collects, in order, each once.
class GhostList {
 public:
  GhostList(std::vector<Voxel*>& ghosts, int32_t maxGhost, int32_t& ghostIterator)
      : ghosts_(ghosts), maxGhost_(maxGhost), ghostIterator_(ghostIterator) {}

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
    if (maxGhost_ > static_cast<int64_t>(ghosts_.size())) {
      ghosts_.push_back(ghost);
      if (mayRepeat) known_.insert(ghost);
    } else {
      refuse();
    }
  }

  void refuse() {
    if (maxGhost_ == 0) return;
    const int64_t next = int64_t{ghostIterator_} + 1;
    ghostIterator_ = static_cast<int32_t>(next % maxGhost_);
  }

  std::vector<Voxel*>& ghosts_;
  const int64_t maxGhost_;
  int32_t& ghostIterator_;
  std::unordered_set<const Voxel*> known_;
};

}  // namespace

void SupportInheritance::inherite(Group& group) const {
  std::optional<GhostList> ghosts;
  for (uint32_t i = 0; i < group.overlapEntries; ++i) {
    const Layer::Overlap& overlap = layer->overlaps[group.firstOverlap + i];
    Placement* lower = previousLayer->groups[overlap.lower].placement.get();
    if (!lower || (lower->ghostSupports.empty() && lower->supports.empty())) continue;
    if (!ghosts) {
      ghosts.emplace(group.ensurePlacement().ghostSupports, settings->maxGhost,
                     record->ghostIterator);
    }
    ghosts->offerAll(*lower);
  }
}

void SupportInheritance::retireGhosts(std::size_t historySize, std::ostream& out) const {
  const std::size_t count = record->ghostSupportArray.size();
  const float maxZGhost = settings->maxZGhost;
  for (std::size_t i = 0; i < count; ++i) {
    Voxel* ghost = record->ghostSupportArray[i];
    const bool hasNoMaterial = layer->isBackground(ghost->index);
    const bool isOld = static_cast<float>(historySize) - maxZGhost > static_cast<float>(ghost->z);
    if (!hasNoMaterial && !isOld) continue;
    ghost->toDelete = true;
    record->deleteGhostIndex.push_back(static_cast<int32_t>(i));
    out << "maxZGhost " << static_cast<double>(maxZGhost) << ' ' << (hasNoMaterial ? 1 : 0)
        << std::endl;
  }
}

}  // namespace stiltforge
