#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <vector>

#include "analysis/layer.h"
#include "analysis/settings.h"

namespace stiltforge {

/// What a model keeps of ghosts besides the lists of its groups.
struct GhostRecord {
  std::vector<Voxel*> ghostSupportArray;  ///< the listed ghosts; a host's to fill
  std::vector<int32_t> deleteGhostIndex;  ///< indices of those retired
  int32_t ghostIterator = 0;              ///< counts refused ghosts modulo Settings::maxGhost
};

/// Carries the supports of the layer below up into the groups that rest on them (ghost supports).
class SupportInheritance {
 public:
  const Settings* settings = nullptr;
  GhostRecord* record = nullptr;
  Layer* layer = nullptr;
  Layer* previousLayer = nullptr;

  /// Appends to the group's ghostSupports the ghosts, then the supports, of every lower group that
  /// it touches, each once, until Settings::maxGhost are held.
  void inherite(Group& group) const;

  /// Marks the listed ghosts that stand under background of `layer` or are older than
  /// Settings::maxZGhost, and writes a line for each to `out`. `historySize` counts `layer`.
  void retireGhosts(std::size_t historySize, std::ostream& out) const;
};

}  // namespace stiltforge
