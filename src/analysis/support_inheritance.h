#pragma once

#include <cstdint>
#include <iosfwd>
#include <vector>

#include "analysis/layer.h"

namespace stiltforge {

/// Carries the supports of the layer below up into the groups that rest on them (ghost supports).
class SupportInheritance {
 public:
  static inline int32_t maxGhost = 200;     ///< most ghosts that one group may hold
  static inline float maxZGhost = 1.0f;     ///< age, in layers, at which a listed ghost is retired
  static inline int32_t ghostIterator = 0;  ///< counts refused ghosts modulo maxGhost
  static inline std::vector<Voxel*> ghostSupportArray;  ///< the listed ghosts; a host's to fill
  static inline std::vector<int32_t> deleteGhostIndex;  ///< indices of those retired

  Layer* layer = nullptr;
  Layer* previousLayer = nullptr;

  /// Appends to the group's ghostSupports the ghosts, then the supports, of every lower group that
  /// it touches, each once, until maxGhost are held.
  void inherite(Group& group) const;

  /// Marks the listed ghosts that stand under background of `layer` or are older than maxZGhost,
  /// and writes a line for each to `out`. `historySize` counts `layer`.
  static void retireGhosts(const Layer& layer, std::size_t historySize, std::ostream& out);
};

}  // namespace stiltforge
