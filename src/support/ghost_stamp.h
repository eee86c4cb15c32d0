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

  // The box in tiles, the last ones of a row and of a column cut off.
  static constexpr uint32_t tileWidth = 64;
  static constexpr uint32_t tileHeight = 32;
  uint32_t tilesAcross() const { return (boxWidth_ + tileWidth - 1) / tileWidth; }
  /// By tile, row by row: no sum in it is above this.
  std::vector<uint64_t> mostInTiles() const;

  /// The sum at a place of the box, as a whole number.
  uint64_t sumAt(uint32_t x, uint32_t y) const;

  /// Part of the box: columns [left, right) of the rows in [firstRow, endRow) that `step` divides.
  struct Part {
    uint32_t firstRow;
    uint32_t endRow;
    uint32_t left;
    uint32_t right;
    uint32_t step = 1;
  };
  /// Adds the ghosts, in their order, to that part. `sums` begins with row firstRow of the box and
  /// has a value for each of its columns: floats, or whole numbers that reach mostInRows(), which
  /// are twice as fast and equal to the floats, since these hold any whole number below 2^24.
  template <typename Sum>
  void add(const Part& part, Sum* sums) const;
  /// The same for whole rows.
  template <typename Sum>
  void addRows(uint32_t firstRow, uint32_t endRow, Sum* sums) const {
    add({firstRow, endRow, 0, boxWidth_}, sums);
  }

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

  void sortIntoTileRows();
  std::vector<Span> spansAlong(uint16_t ghost, uint16_t boxMin, uint32_t boxLength) const;
  uint64_t mostInSpans(const Span& rows, const Span& columns) const;
  template <typename Sum>
  void addRow(const Footprint& footprint, uint32_t tableRow, const Part& part, Sum* line) const;

  const GhostSpread& spread_;
  uint32_t boxWidth_;
  uint32_t boxHeight_;
  std::vector<Footprint> footprints_;
  // By row of tiles the numbers of the footprints that reach it, ascending: few of a large box's.
  std::vector<std::vector<uint32_t>> inTileRow_;
};

}  // namespace stiltforge
