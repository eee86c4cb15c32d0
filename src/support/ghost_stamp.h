#pragma once

#include <cstdint>
#include <vector>

#include "analysis/group.h"
#include "support/ghost_spread.h"

namespace stiltforge {

/// The ghost supports of one group as they fall onto its box: every ghost adds the cone of a
/// GhostSpread to the pixels around it.
class GhostStamp {
 public:
  /// `spread` must outlive the stamp.
  GhostStamp(const GhostSpread& spread, const std::vector<Voxel*>& ghosts, Box box);

  /// True when no ghost reaches the box.
  bool empty() const { return footprints_.empty(); }

  /// No sum in the box rows [firstRow, endRow), counted from the box's top, is above this.
  uint64_t mostInRows(uint32_t firstRow, uint32_t endRow) const;

  /// Adds the ghosts, in their order, to those rows. `sums` holds (endRow - firstRow) * box width
  /// values: floats, or whole numbers that reach mostInRows(), which are twice as fast and equal to
  /// the floats, since these hold any whole number below 2^24.
  template <typename Sum>
  void addRows(uint32_t firstRow, uint32_t endRow, Sum* sums) const;

 private:
  // Consecutive rows or columns of the table that fall onto consecutive ones of the box.
  struct Span {
    uint32_t cell;   // first of the table
    uint32_t place;  // first of the box
    uint32_t length;
  };
  struct Footprint {
    std::vector<Span> rows;
    std::vector<Span> columns;
  };

  std::vector<Span> spansAlong(uint16_t ghost, uint16_t boxMin, uint32_t boxLength) const;
  template <typename Sum>
  void addRow(const Footprint& footprint, uint32_t tableRow, Sum* line) const;

  const GhostSpread& spread_;
  uint32_t boxWidth_;
  std::vector<Footprint> footprints_;
};

}  // namespace stiltforge
