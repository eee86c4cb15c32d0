#pragma once

#include <cstdint>

namespace stiltforge {

/// The staggered lattice of sampling candidates in a group's box, in offsets from the box's corner.
/// Every second lattice row is shifted right by stepX / 2.
struct SampleLattice {
  uint32_t stepX = 1;
  uint32_t stepY = 1;

  bool holdsRow(uint32_t dy) const { return dy % stepY == 0; }

  /// Needs holdsRow(dy). The subtraction wraps below zero on purpose: with stepX 3 the first column
  /// stays on shifted rows of even dy.
  bool holds(uint32_t dx, uint32_t dy) const {
    if (stepX == 1 && stepY == 1) return true;
    const uint32_t shift = (dy / stepY) % 2 * stepX / 2;
    return (dx - shift) % stepX == 0 && !(dy % 2 == 1 && dx == 0);
  }

  /// Calls visit(dx) for the columns of row dy in [begin, end) that the lattice holds, ascending.
  /// Needs holdsRow(dy).
  template <typename Visit>
  void visitColumns(uint32_t dy, uint32_t begin, uint32_t end, Visit visit) const {
    uint32_t dx = begin;
    if (dx == 0 && dx < end) {
      if (holds(0, dy)) visit(0u);
      dx = 1;
    }
    while (dx < end && !holds(dx, dy)) ++dx;
    for (; dx < end; dx += stepX) visit(dx);
  }
};

}  // namespace stiltforge
