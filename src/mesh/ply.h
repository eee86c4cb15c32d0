#pragma once

#include "files/byte_source.h"
#include "mesh/mesh.h"

namespace stiltforge::mesh {

/// A PLY in any of its three encodings: the faces of its element "face" over the vertices of its
/// element "vertex"; all else is passed over. Throws MeshError.
Mesh readPly(files::ByteSource& source);

}  // namespace stiltforge::mesh
