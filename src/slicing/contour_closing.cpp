#include "slicing/contour_closing.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace stiltforge::slicing {

namespace {

struct Pair {
  double squaredDistance;
  uint32_t end;    // where contours end
  uint32_t start;  // where contours start
};

// Joins ends at the same position, where no distance needs looking at.
void mergeCoincident(std::vector<OpenEnd>& ends) {
  std::sort(ends.begin(), ends.end(), [](const OpenEnd& a, const OpenEnd& b) {
    return a.at.x != b.at.x ? a.at.x < b.at.x : a.at.y < b.at.y;
  });
  std::size_t kept = 0;
  for (std::size_t i = 0; i < ends.size(); ++i) {
    if (kept > 0 && ends[kept - 1].at == ends[i].at) {
      ends[kept - 1].surplus += ends[i].surplus;
    } else {
      ends[kept++] = ends[i];
    }
  }
  ends.resize(kept);
}

void dropMatched(std::vector<OpenEnd>& ends) {
  ends.erase(
      std::remove_if(ends.begin(), ends.end(), [](const OpenEnd& end) { return end.surplus == 0; }),
      ends.end());
}

struct CellEntry {
  int64_t row;  // of a grid of squares
  int64_t column;
  uint32_t end;
};

int64_t cellOf(double coordinate, double reach) {
  return static_cast<int64_t>(std::floor(coordinate / reach));
}

bool isBefore(const CellEntry& a, const CellEntry& b) {
  if (a.row != b.row) return a.row < b.row;
  if (a.column != b.column) return a.column < b.column;
  return a.end < b.end;
}

// All pairs of an end and a start no further apart than reach, closest first. A grid of squares of
// that size confines the search to three runs of cells around each end.
std::vector<Pair> pairsWithin(double reach, const std::vector<OpenEnd>& ends) {
  std::vector<CellEntry> starts;
  for (uint32_t i = 0; i < ends.size(); ++i) {
    if (ends[i].surplus < 0) {
      starts.push_back({cellOf(ends[i].at.y, reach), cellOf(ends[i].at.x, reach), i});
    }
  }
  std::sort(starts.begin(), starts.end(), isBefore);

  std::vector<Pair> pairs;
  for (uint32_t i = 0; i < ends.size(); ++i) {
    if (ends[i].surplus < 0) continue;
    const int64_t row = cellOf(ends[i].at.y, reach);
    const int64_t column = cellOf(ends[i].at.x, reach);
    for (int64_t r = row - 1; r <= row + 1; ++r) {
      auto entry =
          std::lower_bound(starts.begin(), starts.end(), CellEntry{r, column - 1, 0}, isBefore);
      for (; entry != starts.end() && entry->row == r && entry->column <= column + 1; ++entry) {
        const double dx = ends[entry->end].at.x - ends[i].at.x;
        const double dy = ends[entry->end].at.y - ends[i].at.y;
        const double squared = dx * dx + dy * dy;
        if (squared <= reach * reach) pairs.push_back({squared, i, entry->end});
      }
    }
  }
  std::sort(pairs.begin(), pairs.end(), [](const Pair& a, const Pair& b) {
    if (a.squaredDistance != b.squaredDistance) return a.squaredDistance < b.squaredDistance;
    return a.end != b.end ? a.end < b.end : a.start < b.start;
  });
  return pairs;
}

}  // namespace

void closeContours(std::vector<OpenEnd>& ends, std::vector<Segment>& segments) {
  mergeCoincident(ends);
  dropMatched(ends);
  // Whatever lies within a reach is matched before the reach doubles, so the closest go first
  // overall.
  for (double reach = 1.0 / 64; !ends.empty(); reach *= 2) {
    for (const Pair& pair : pairsWithin(reach, ends)) {
      OpenEnd& end = ends[pair.end];
      OpenEnd& start = ends[pair.start];
      const int32_t count = std::min(end.surplus, -start.surplus);
      if (count <= 0) continue;
      for (int32_t i = 0; i < count; ++i) segments.push_back({end.at, start.at});
      end.surplus -= count;
      start.surplus += count;
    }
    dropMatched(ends);
  }
}

}  // namespace stiltforge::slicing
