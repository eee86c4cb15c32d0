#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "analysis/group.h"

namespace stiltforge {

/// The ghost supports of one group as they fall onto its box: every ghost adds the cone of
/// Poisson::ghostSpread, in whole steps of 1/255, to the pixels around it.
class GhostStamp {
 public:
  GhostStamp(const std::vector<Voxel*>& ghosts, Box box);

  /// True when no ghost reaches the box.
  bool empty() const { return footprints_.empty(); }

  /// Adds the ghosts, in their order, to the box rows [firstRow, endRow), counted from the box's
  /// top. `sums` holds (endRow - firstRow) * box width values.
  void addRows(uint32_t firstRow, uint32_t endRow, float* sums) const;

  /// Rebuilds the table of cone steps from Poisson::ghostSpread and Poisson::ghostRadius.
  static void rebuildTable();
  /// Frees the table; nothing is stamped until it is rebuilt.
  static void releaseTable();

 private:
  // Consecutive table columns that fall onto consecutive box columns.
  struct Span {
    uint32_t tableColumn;
    uint32_t boxColumn;
    uint32_t length;
  };
  struct Row {
    uint32_t boxRow;
    uint32_t tableRow;
  };
  struct Footprint {
    std::vector<Span> spans;
    std::vector<Row> rows;
  };

  uint32_t boxWidth_;
  std::vector<Footprint> footprints_;
};

}  // namespace stiltforge
