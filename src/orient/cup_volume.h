#pragma once

#include <cstdint>
#include <vector>

#include "analysis/slice.h"
#include "hold/components.h"
#include "hold/disjoint_sets.h"

namespace stiltforge::orient {

/// The empty space of a part that is closed while it is printed: by the part, the plate and, while
/// a layer cures, the film under the resin. Bowls and bells are such cups, which suck at the film,
/// and sealed voids.
class CupVolume {
 public:
  /// Takes the next slice, bottom first.
  void add(const Slice& slice);

  /// Pixels of all slices that were closed in when their layer was printed.
  uint64_t pixels() const { return pixels_; }

 private:
  hold::DisjointSets spaces_;
  hold::Components free_;  // of the last layer
  std::vector<uint32_t> spaceOf_;
  uint64_t pixels_ = 0;
};

}  // namespace stiltforge::orient
