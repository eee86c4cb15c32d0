#pragma once

#include <cstdint>
#include <vector>

#include "slicing/mesh_topology.h"
#include "slicing/triangle_mesh.h"

namespace stiltforge::slicing {

/// Turns triangles around until those that share an edge with one other run along it against each
/// other. Of each patch, triangles that hang together by such edges, those of the lesser area are
/// turned; a patch that can't be oriented, like a Moebius strip, stays as it is. Returns the turned
/// triangles, ascending: where there are any, the topology is that of the mesh before. Takes memory
/// for the edges.
std::vector<uint32_t> orientCoherently(TriangleMesh& mesh, const MeshTopology& topology);

}  // namespace stiltforge::slicing
