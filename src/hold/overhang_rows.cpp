#include "hold/overhang_rows.h"

#include <algorithm>
#include <span>
#include <vector>

namespace stiltforge::hold {

namespace {

// The columns within one pixel of the runs of rows y - 1 to y + 1, sorted by where they begin.
void findCarried(const RunRows& below, int y, std::vector<Run>& carried) {
  carried.clear();
  for (int row = y - 1; row <= y + 1; ++row) {
    for (const Run& run : below.row(row)) {
      carried.push_back({static_cast<uint16_t>(run.begin - (run.begin > 0 ? 1 : 0)),
                         static_cast<uint16_t>(run.end + (run.end < 0xFFFF ? 1 : 0))});
    }
  }
  std::sort(carried.begin(), carried.end(),
            [](const Run& a, const Run& b) { return a.begin < b.begin; });
  std::size_t kept = 0;
  for (const Run& run : carried) {
    if (kept > 0 && run.begin <= carried[kept - 1].end) {
      carried[kept - 1].end = std::max(carried[kept - 1].end, run.end);
    } else {
      carried[kept++] = run;
    }
  }
  carried.resize(kept);
}

}  // namespace

RunRows overhangBeyond(const Slice& slice, const RunRows& below) {
  RunRows beyond;
  std::vector<Run> carried;
  for (int y = 0; y < slice.overhang.height(); ++y) {
    const std::span<const Run> row = slice.overhang.row(y);
    if (!row.empty()) {
      findCarried(below, y, carried);
      std::span<const Run> holes = carried;
      for (const Run& run : row) {
        forEachUncovered(run, holes, [&](int32_t begin, int32_t end) { beyond.add(begin, end); });
      }
    }
    beyond.endRow();
  }
  return beyond;
}

}  // namespace stiltforge::hold
