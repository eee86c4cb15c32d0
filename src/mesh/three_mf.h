#pragma once

#include "files/byte_source.h"
#include "mesh/mesh.h"

namespace stiltforge::mesh {

/// The build items of a 3MF archive, each where its transforms put it, in millimetres. Only the
/// parts of the archive that they need are unpacked. Throws MeshError.
Mesh readThreeMf(files::ByteSource& source);

}  // namespace stiltforge::mesh
