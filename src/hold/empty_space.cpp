#include "hold/empty_space.h"

#include <algorithm>
#include <cstddef>
#include <span>
#include <utility>

#include "runtime/apart.h"

namespace stiltforge::hold {

namespace {

constexpr uint32_t outside = 0;

// Columns between the run and the one on its left.
Run gapBefore(const RunRows& rows, uint32_t run) {
  return {rows[run - 1].end, rows[run].begin};
}

// Calls fn(y, begin, end) for each row with gaps, those before its runs [begin, end).
template <class Fn>
void forEachRowOfGaps(const RunRows& rows, Fn&& fn) {
  const RowRange range = rows.occupiedRows();
  for (auto y = static_cast<std::size_t>(range.begin); y < static_cast<std::size_t>(range.end);
       ++y) {
    const uint32_t begin = rows.rowStart(y) + 1;
    const uint32_t end = rows.rowStart(y + 1);
    if (begin < end) fn(y, begin, end);
  }
}

// Calls fn(a, b) for the gaps of row y of the first and row z of the second that share a column,
// from left to right.
template <class Fn>
void forEachSharedGap(const RunRows& first, std::size_t y, const RunRows& second, std::size_t z,
                      Fn&& fn) {
  uint32_t a = first.rowStart(y) + 1;
  uint32_t b = second.rowStart(z) + 1;
  const uint32_t endA = first.rowStart(y + 1);
  const uint32_t endB = second.rowStart(z + 1);
  while (a < endA && b < endB) {
    const Run gapA = gapBefore(first, a);
    const Run gapB = gapBefore(second, b);
    if (gapA.begin < gapB.end && gapB.begin < gapA.end) fn(a, b);
    if (gapA.end <= gapB.end) ++a;
    if (gapB.end <= gapA.end) ++b;
  }
}

bool isBesideMaterial(Run columns, const RunRows& material, std::size_t y) {
  const uint32_t first = material.rowStart(y);
  const uint32_t end = material.rowStart(y + 1);
  return first == end || columns.begin < material[first].begin ||
         columns.end > material[end - 1].end;
}

}  // namespace

void EmptySpace::add(const RunRows& material, const RunRows& below) {
  std::swap(below_, layer_);
  isOpenBelow_ = std::exchange(isOpen_, true);
  const bool liesOnPlate = std::exchange(isFirst_, false);
  layer_.assign(material.runCount(), liesOnPlate ? outside : none);
  if (!liesOnPlate) findSpaces(material, below);
}

void EmptySpace::findSpaces(const RunRows& material, const RunRows& below) {
  DisjointSets pieces;  // of the layer
  pieces.add();         // outside
  findPieces(material, below, pieces);
  for (uint32_t piece = 1; piece < pieces.size(); ++piece) {
    isOpen_ = isOpen_ && pieces.root(piece) == outside;
  }
  if (isOpen_ && isOpenBelow_) {
    std::fill(layer_.begin(), layer_.end(), outside);
  } else {
    joinSpaces(material, below, pieces);
  }
}

// Numbers each gap by a piece of the layer.
STILTFORGE_APART void EmptySpace::findPieces(const RunRows& material, const RunRows& below,
                                             DisjointSets& pieces) {
  const auto height = static_cast<std::size_t>(material.height());
  const auto reachesOut = [&](Run gap, std::size_t y) {
    return y == 0 || y + 1 == height || isBesideMaterial(gap, material, y - 1) ||
           isBesideMaterial(gap, material, y + 1) || isBesideMaterial(gap, below, y);
  };
  forEachRowOfGaps(material, [&](std::size_t y, uint32_t begin, uint32_t end) {
    for (uint32_t gap = begin; gap < end; ++gap) {
      if (reachesOut(gapBefore(material, gap), y)) layer_[gap] = outside;
    }
    if (y > 0) {
      forEachSharedGap(material, y - 1, material, y, [&](uint32_t above, uint32_t gap) {
        layer_[gap] = layer_[gap] == none ? pieces.root(layer_[above])
                                          : pieces.unite(layer_[gap], layer_[above]);
      });
    }
    for (uint32_t gap = begin; gap < end; ++gap) {
      if (layer_[gap] == none) layer_[gap] = pieces.add();
    }
  });
}

// Numbers each gap by its space, the layer's pieces by those of the layer below.
STILTFORGE_APART void EmptySpace::joinSpaces(const RunRows& material, const RunRows& below,
                                             DisjointSets& pieces) {
  std::vector<uint32_t> spaceOf(pieces.size(), none);
  spaceOf[outside] = outside;
  forEachRowOfGaps(material, [&](std::size_t y, uint32_t begin, uint32_t end) {
    for (uint32_t gap = begin; gap < end; ++gap) layer_[gap] = pieces.root(layer_[gap]);
    forEachSharedGap(material, y, below, y, [&](uint32_t gap, uint32_t lower) {
      uint32_t& known = spaceOf[layer_[gap]];
      known = known == none ? spaces_.root(below_[lower]) : spaces_.unite(known, below_[lower]);
    });
  });
  for (uint32_t piece = 0; piece < pieces.size(); ++piece) {
    if (spaceOf[piece] == none && pieces.root(piece) == piece) spaceOf[piece] = spaces_.add();
  }
  isOpen_ = true;
  forEachRowOfGaps(material, [&](std::size_t, uint32_t begin, uint32_t end) {
    for (uint32_t gap = begin; gap < end; ++gap) {
      layer_[gap] = spaceOf[layer_[gap]];
      isOpen_ = isOpen_ && layer_[gap] == outside;
    }
  });
  forEachRowOfGaps(below, [&](std::size_t y, uint32_t begin, uint32_t end) {
    for (uint32_t gap = begin; gap < end; ++gap) {
      if (below_[gap] != outside && isBesideMaterial(gapBefore(below, gap), material, y)) {
        spaces_.unite(below_[gap], outside);
      }
    }
  });
}

uint32_t EmptySpace::below(const RunRows& below, int x, int y) const {
  if (y < 0 || y >= below.height()) return none;
  const std::span<const Run> row = below.row(y);
  const auto right =
      std::partition_point(row.begin(), row.end(), [&](const Run& run) { return run.end <= x; });
  if (right != row.end() && right->begin <= x) return none;
  if (right == row.begin() || right == row.end()) return outside;
  return below_[below.rowStart(static_cast<std::size_t>(y)) +
                static_cast<std::size_t>(right - row.begin())];
}

void EmptySpace::finish() {
  for (const uint32_t space : layer_) {
    if (space != none) spaces_.unite(space, outside);
  }
  layer_ = {};
  below_ = {};
  outside_.resize(spaces_.size());
  for (uint32_t space = 0; space < spaces_.size(); ++space) {
    outside_[space] = spaces_.root(space) == outside ? 1 : 0;
  }
}

}  // namespace stiltforge::hold
