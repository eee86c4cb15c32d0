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
/// a sealed void, out of which nothing can be taken. Takes memory for the pieces, and for two
/// layers.
class EmptySpace {
 public:
  static constexpr uint32_t none = Components::none;

  EmptySpace() { spaces_.add(); }

  /// Takes the material of the next layer, bottom first; all have the same height.
  void add(const RunRows& material);

  /// The piece that holds this pixel of the layer below the one last added, none where there is
  /// material or no such layer. Pieces that turn out to be one keep their numbers.
  uint32_t below(int x, int y) const;

  /// Whether the piece is cut off from outside by the layers so far, what lies above the last of
  /// them counted as outside.
  bool isSealed(uint32_t space) const { return space != none && outside_[space] == 0; }
  /// Settles which pieces are outside, after the last layer. isSealed() needs it.
  void finish();

 private:
  // What lies left and right of a row's material reaches the border; only the gaps in between may
  // not.
  struct Layer {
    std::vector<Run> extent;        // of each row's material; empty where there is none
    Components gaps;                // between the runs of the rows
    std::vector<uint32_t> spaceOf;  // by component

    bool isOpen(Run columns, std::size_t y) const {
      return columns.begin < extent[y].begin || columns.end > extent[y].end;
    }
  };

  DisjointSets spaces_;  // 0 is outside
  bool isFirst_ = true;
  Layer layer_;
  Layer below_;
  std::vector<uint8_t> outside_;
};

}  // namespace stiltforge::hold
