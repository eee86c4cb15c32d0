#pragma once

#include <cstdint>
#include <vector>

#include "analysis/run_rows.h"
#include "hold/components.h"
#include "runtime/disjoint_sets.h"
#include "runtime/scratch_vector.h"

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

  /// Takes the material of the next layer, bottom first; all have the same height. `below` is that
  /// of the last call.
  void add(const RunRows& material, const RunRows& below);

  /// The piece that holds this pixel of the layer below the one last added, `below`, none where
  /// there is material or no such layer. Pieces that turn out to be one keep their numbers.
  uint32_t below(const RunRows& below, int x, int y) const;

  /// Whether the piece is cut off from outside by the layers so far, what lies above the last of
  /// them counted as outside.
  bool isSealed(uint32_t space) const { return space != none && outside_[space] == 0; }
  /// Settles which pieces are outside, after the last layer. isSealed() needs it.
  void finish();

 private:
  // What lies left and right of a row's material reaches the border; only the gaps in between may
  // not. A gap is named by the run on its right.
  using SpaceOfGap = ScratchVector<uint32_t>;

  void findSpaces(const RunRows& material, const RunRows& below);
  void findPieces(const RunRows& material, const RunRows& below, DisjointSets& pieces);
  void joinSpaces(const RunRows& material, const RunRows& below, DisjointSets& pieces);

  DisjointSets spaces_;  // 0 is outside
  bool isFirst_ = true;
  SpaceOfGap layer_;
  SpaceOfGap below_;
  // Whether all gaps of the layer lie outside.
  bool isOpen_ = true;
  bool isOpenBelow_ = true;
  std::vector<uint8_t> outside_;
};

}  // namespace stiltforge::hold
