#pragma once

#include <algorithm>
#include <array>
#include <span>
#include <vector>

namespace stiltforge::slicing {

/// A corner of a triangle, millimetres, z up.
struct Vertex {
  float x = 0, y = 0, z = 0;

  bool operator==(const Vertex& other) const {
    return x == other.x && y == other.y && z == other.z;
  }
};

/// Corners counter-clockwise as seen from outside.
using Triangle = std::array<Vertex, 3>;

struct Bounds {
  Vertex min, max;

  void extend(const Vertex& point) {
    min = {std::min(min.x, point.x), std::min(min.y, point.y), std::min(min.z, point.z)};
    max = {std::max(max.x, point.x), std::max(max.y, point.y), std::max(max.z, point.z)};
  }
  void extend(const Triangle& triangle) {
    for (const Vertex& corner : triangle) extend(corner);
  }
};

/// False where the corners lie on one line.
bool hasArea(const Triangle& triangle);

/// A bag of triangles, as mesh files carry them.
struct TriangleMesh {
  std::vector<Triangle> triangles;
  Bounds bounds;  ///< of the triangles that have an area: the others are nothing to print

  /// From nine floats a triangle: three corners of x, y, z. Negative zeros become zeros, so that
  /// equal corners are equal bytes. Throws SlicingError when no triangle has an area, a part of one
  /// is missing, or a coordinate is not finite.
  static TriangleMesh fromSoup(std::span<const float> positions);
};

}  // namespace stiltforge::slicing
