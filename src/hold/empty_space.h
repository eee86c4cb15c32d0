#pragma once

#include <cstdint>
#include <vector>

#include "analysis/run_rows.h"
#include "hold/components.h"
#include "hold/disjoint_sets.h"

namespace stiltforge::hold {

/// The space around and inside a part, in connected pieces: pixels without material touch on the
/// sides of their layer, and above and below.
///
/// Space that reaches the border of the slices, the plate or the top is outside. What never does is
/// a sealed void, out of which nothing can be taken. Takes memory for the pieces, and for the runs
/// of two layers.
class EmptySpace {
 public:
  static constexpr uint32_t none = Components::none;

  EmptySpace() { spaces_.add(); }

  /// Takes the next layer, bottom first: what is left free of it. `free` has a row for each row of
  /// the slice, `width` columns.
  void add(Components free, int width);

  /// The piece that holds this pixel of the layer below the one last added, none where there is
  /// material or no such layer. Pieces that turn out to be one keep their numbers.
  uint32_t below(int x, int y) const;

  /// Whether the piece is cut off from outside by the layers so far, what lies above the last of
  /// them counted as outside.
  bool isSealed(uint32_t space) const { return space != none && outside_[space] == 0; }
  /// Settles which pieces are outside, after the last layer. isSealed() needs it.
  void finish();

 private:
  struct Layer {
    Components free;
    std::vector<uint32_t> spaceOf;  // by component
  };

  DisjointSets spaces_;  // 0 is outside
  bool isFirst_ = true;
  Layer layer_;
  Layer below_;
  std::vector<uint8_t> outside_;
};

}  // namespace stiltforge::hold
