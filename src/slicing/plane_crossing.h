#pragma once

#include <utility>

#include "slicing/triangle_mesh.h"

namespace stiltforge::slicing {

/// A point of a layer's plane. Millimetres in the model, pixels in a slice.
struct Point {
  double x = 0, y = 0;

  bool operator==(const Point& other) const { return x == other.x && y == other.y; }
};

/// Order of an edge's ends, the same for every triangle at the edge.
inline bool isBelow(const Vertex& a, const Vertex& b) {
  if (a.z != b.z) return a.z < b.z;
  if (a.x != b.x) return a.x < b.x;
  return a.y < b.y;
}

/// Where the edge between two corners meets the plane, min z <= plane < max z. Triangles that share
/// the edge get the same bits, whichever way round they hold it.
inline Point planeCrossing(Vertex a, Vertex b, double plane) {
  if (isBelow(b, a)) std::swap(a, b);
  const double lowZ = a.z;
  const double t = (plane - lowZ) / (static_cast<double>(b.z) - lowZ);
  const double lowX = a.x;
  const double lowY = a.y;
  return {lowX + t * (static_cast<double>(b.x) - lowX),
          lowY + t * (static_cast<double>(b.y) - lowY)};
}

}  // namespace stiltforge::slicing
