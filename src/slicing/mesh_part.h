#pragma once

#include <cstdint>
#include <vector>

#include "slicing/mesh_topology.h"
#include "slicing/triangle_mesh.h"

namespace stiltforge::slicing {

/// Triangles that hang together by vertices, some of them with an area.
struct MeshPart {
  Bounds bounds;  ///< of the triangles with an area
  std::vector<uint32_t> triangles;
  uint32_t openEdges = 0;         ///< edges of one triangle only
  uint32_t nonManifoldEdges = 0;  ///< edges of more than two triangles
  uint32_t misorientedEdges = 0;  ///< edges of two triangles that run along it the same way
  bool closed = true;             ///< each edge is used equally often in both directions
  /// mm3, negative when the faces look inwards. An open part's holes are closed to the centre of
  /// its box.
  double volume = 0;
};

/// The parts of a mesh, by their first triangle.
std::vector<MeshPart> collectParts(const TriangleMesh& mesh, const MeshTopology& topology);

}  // namespace stiltforge::slicing
