#include "hold/overhang_rows.h"

#include "hold/beyond_reach.h"

namespace stiltforge::hold {

RunRows overhangBeyond(const Slice& slice, const RunRows& below) {
  RunRows beyond;
  BeyondReach reach(1.5);
  for (int y = 0; y < slice.overhang.height(); ++y) {
    for (const Run& run : slice.overhang.row(y)) reach.find(run, y, below, beyond);
    beyond.endRow();
  }
  return beyond;
}

}  // namespace stiltforge::hold
