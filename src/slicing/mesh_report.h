#pragma once

#include <cstdint>

#include "slicing/floating_parts.h"
#include "slicing/mesh_topology.h"
#include "slicing/triangle_mesh.h"

namespace stiltforge::slicing {

/// What a person should know of a mesh before trusting its slices.
///
/// A part is a set of triangles that hang together by vertices, some of them with an area; it is
/// closed when each of its edges is used equally often in both directions. The expected volume
/// treats each part as solid whichever way its faces look, a part inside a closed one as a cavity
/// if the two are oriented against each other and as nothing new otherwise. It is an estimate: the
/// volume of an open part depends on how its holes are closed (here: to the centre of its box), and
/// parts that overlap without one containing the other are counted twice, where slices count their
/// union.
struct MeshReport {
  uint32_t triangles = 0;
  uint32_t vertices = 0;             ///< distinct positions
  uint32_t degenerateTriangles = 0;  ///< of zero area
  uint32_t openEdges = 0;            ///< edges of one triangle only
  uint32_t nonManifoldEdges = 0;     ///< edges of more than two triangles
  uint32_t misorientedEdges = 0;     ///< edges of two triangles that run along it the same way
  uint32_t parts = 0;
  uint32_t openParts = 0;
  /// mm: of the lines by which slices close the contours of open parts the longest, which the
  /// slicer fills in; 0 where all that is open is level, so that no slice shows it.
  double widestGap = 0;
  uint32_t flippedParts = 0;   ///< closed parts inside out, cavities not counted
  uint32_t cavities = 0;       ///< closed parts that hollow a closed part around them
  uint32_t floatingParts = 0;  ///< parts that stand on nothing, see FloatingParts
  double floatingFrom = 0;     ///< mm from the plate to the lowest of those; 0 without any
  double signedVolume = 0;     ///< mm3, sum over the parts as they are oriented
  double expectedVolume = 0;   ///< mm3, see above
  Bounds bounds;               ///< mm, of the triangles that have an area
};

MeshReport inspectMesh(const TriangleMesh& mesh, const MeshTopology& topology,
                       const Contact& contact = {});

}  // namespace stiltforge::slicing
