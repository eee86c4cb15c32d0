#include "hold/overhang_rows.h"

namespace stiltforge::hold {

RunRows overhangBeyond(const Slice& slice, const RunRows& below, BeyondReach& reach) {
  RunRows beyond;
  const RowRange rows = slice.overhang.occupiedRows();
  beyond.endRows(rows.begin);
  for (int y = rows.begin; y < rows.end; ++y) {
    for (const Run& run : slice.overhang.row(y)) reach.find(run, y, below, beyond);
    beyond.endRow();
  }
  beyond.endRows(slice.overhang.height() - rows.end);
  return beyond;
}

}  // namespace stiltforge::hold
