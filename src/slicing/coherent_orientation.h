#pragma once

#include "slicing/mesh_topology.h"
#include "slicing/triangle_mesh.h"

namespace stiltforge::slicing {

/// Turns triangles around until those that share an edge with one other run along it against each
/// other. Of each patch, triangles that hang together by such edges, those of the lesser area are
/// turned; a patch that can't be oriented, like a Moebius strip, stays as it is. Returns whether
/// any triangle was turned: the topology then is that of the mesh before. Takes memory for the
/// edges.
bool orientCoherently(TriangleMesh& mesh, const MeshTopology& topology);

}  // namespace stiltforge::slicing
