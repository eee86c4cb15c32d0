#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "slicing/triangle_mesh.h"

namespace stiltforge::slicing {

/// An edge that is not what a closed, consistently oriented surface has: one triangle on each side.
struct IrregularEdge {
  uint32_t low = 0;        ///< vertex; isBelow(low, high)
  uint32_t high = 0;       ///< vertex
  uint32_t upwards = 0;    ///< triangles that run along it from low to high
  uint32_t downwards = 0;  ///< triangles that run along it from high to low

  uint32_t triangles() const { return upwards + downwards; }
  bool isBalanced() const { return upwards == downwards; }
};

/// How the triangles of a soup hang together once corners at the same position are one vertex.
struct MeshTopology {
  std::vector<Vertex> vertices;
  std::vector<std::array<uint32_t, 3>> corners;  ///< vertices of each triangle
  std::vector<IrregularEdge> irregularEdges;     ///< ascending by vertices
  std::vector<uint32_t> partOfTriangle;  ///< parts share no vertex; numbered by first triangle
  uint32_t partCount = 0;

  explicit MeshTopology(const TriangleMesh& mesh);
};

}  // namespace stiltforge::slicing
