#include "hold/components.h"

#include <utility>
#include <vector>

#include "runtime/disjoint_sets.h"

namespace stiltforge::hold {

namespace {

// Unites the sets of the runs of rows y - 1 and y that touch.
void uniteRows(const RunRows& rows, std::size_t y, int corner, ScratchVector<uint32_t>& set,
               DisjointSets& sets) {
  uint32_t upper = rows.rowStart(y - 1);
  const uint32_t upperEnd = rows.rowStart(y);
  uint32_t lower = upperEnd;
  const uint32_t lowerEnd = rows.rowStart(y + 1);
  while (upper < upperEnd && lower < lowerEnd) {
    const Run& above = rows[upper];
    const Run& below = rows[lower];
    if (above.begin < below.end + corner && below.begin < above.end + corner) {
      set[lower] = set[lower] == Components::none ? sets.root(set[upper])
                                                  : sets.unite(set[lower], set[upper]);
    }
    // A run that ends first can't touch what comes after the other, not even across a corner.
    const bool upperEndsFirst = above.end < below.end;
    (upperEndsFirst ? upper : lower) += 1;
  }
}

}  // namespace

uint32_t findRun(const RunRows& rows, int x, int y) {
  const std::span<const Run> row = rows.row(y);
  const auto run =
      std::partition_point(row.begin(), row.end(), [&](const Run& r) { return r.end <= x; });
  if (run == row.end() || run->begin > x) return Components::none;
  return rows.rowStart(static_cast<std::size_t>(y)) + static_cast<uint32_t>(run - row.begin());
}

uint32_t Components::at(int x, int y) const {
  const uint32_t run = findRun(pixels, x, y);
  return run == none ? none : ofRun[run];
}

Components findComponents(RunRows pixels, Contact contact) {
  const int corner = contact == Contact::sidesAndCorners ? 1 : 0;
  Components components;
  components.pixels = std::move(pixels);
  const RunRows& rows = components.pixels;
  ScratchVector<uint32_t>& set = components.ofRun;
  set.assign(rows.runCount(), Components::none);
  DisjointSets sets;
  const RowRange occupied = rows.occupiedRows();
  for (auto y = static_cast<std::size_t>(occupied.begin);
       y < static_cast<std::size_t>(occupied.end); ++y) {
    if (y > 0) uniteRows(rows, y, corner, set, sets);
    for (uint32_t run = rows.rowStart(y); run < rows.rowStart(y + 1); ++run) {
      if (set[run] == Components::none) set[run] = sets.add();
    }
  }
  // A root comes before the others of its set.
  std::vector<uint32_t> number(sets.size());
  for (uint32_t s = 0; s < sets.size(); ++s) {
    const uint32_t root = sets.root(s);
    number[s] = root == s ? components.count++ : number[root];
  }
  for (uint32_t& s : set) s = number[s];
  return components;
}

}  // namespace stiltforge::hold
