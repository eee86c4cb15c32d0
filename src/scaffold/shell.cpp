#include "scaffold/shell.h"

#include <array>
#include <cstddef>

#include "scaffold/circle.h"

namespace stiltforge::scaffold {

namespace {

using slicing::Triangle;
using Corners = std::array<slicing::Vertex, circleSides>;

Corners cornersOf(const Ring& ring) {
  Corners corners;
  for (std::size_t i = 0; i < circleSides; ++i) {
    corners.at(i) = circleCorner(ring.centre.x, ring.centre.y, ring.centre.z, ring.radius, i);
  }
  return corners;
}

}  // namespace

void appendShell(const std::vector<Ring>& rings, std::vector<Triangle>& triangles) {
  std::vector<Corners> levels;
  for (const Ring& ring : rings) {
    const Corners corners = cornersOf(ring);
    if (levels.empty() || corners[0].z > levels.back()[0].z) levels.push_back(corners);
  }
  if (levels.size() < 2) return;
  const Corners& low = levels.front();
  const Corners& high = levels.back();
  for (std::size_t i = 1; i + 1 < circleSides; ++i) {
    triangles.push_back({low[0], low.at(i + 1), low.at(i)});
    triangles.push_back({high[0], high.at(i), high.at(i + 1)});
  }
  for (std::size_t level = 0; level + 1 < levels.size(); ++level) {
    const Corners& below = levels[level];
    const Corners& above = levels[level + 1];
    for (std::size_t i = 0; i < circleSides; ++i) {
      const std::size_t next = (i + 1) % circleSides;
      triangles.push_back({below.at(i), below.at(next), above.at(next)});
      triangles.push_back({below.at(i), above.at(next), above.at(i)});
    }
  }
}

}  // namespace stiltforge::scaffold
