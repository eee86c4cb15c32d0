#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <optional>
#include <vector>

#include "scaffold/settings.h"
#include "scaffold/shell.h"
#include "scaffold/triangle_index.h"

namespace stiltforge::scaffold {

/// The longest upright piece of a support.
struct Pillar {
  double x, y;
  double bottom, top;  ///< mm
  double radius;       ///< mm

  /// Whether it is so high for its width that it bends.
  bool isSlender() const;
};

/// Nothing where no piece of a support is upright and of one width. The rings lie above each other.
std::optional<Pillar> pillarOf(const std::vector<Ring>& rings);

/// A rod between two pillars that rises by 45 degrees, which prints without supports of its own.
struct Brace {
  std::size_t first;  ///< number of a pillar, the lesser one
  std::size_t second;
  std::vector<Ring> rings;  ///< the lower one first; both lie inside the pillars
};

/// How often bracesBetween() looks at a slender pillar.
inline constexpr std::size_t looksAtPillar = 2;

/// Connects slender pillars that stand within settings.braceReach of each other, free of the part:
/// those between which no other stands (K. R. Gabriel and R. R. Sokal, "A new statistical approach
/// to geographic variation analysis", 1969), and those that would stand alone with the nearest that
/// they can reach. By pairs; of a pair the highest brace comes first. Others are passed over.
/// Spread over the worker pool; the same for any number of workers. `looked` is called by any
/// thread after each look at a pillar. Ends early, with whatever there is, when `cancelled` is
/// raised.
std::vector<Brace> bracesBetween(const std::vector<std::optional<Pillar>>& pillars,
                                 const TriangleIndex& part, const Settings& settings,
                                 const std::function<void()>& looked = {},
                                 const std::atomic<bool>* cancelled = nullptr);

}  // namespace stiltforge::scaffold
