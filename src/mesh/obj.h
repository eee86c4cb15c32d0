#pragma once

#include <cstdint>

#include "files/byte_source.h"
#include "mesh/mesh.h"

namespace stiltforge::mesh {

/// An OBJ from `offset` on: its vertices and faces; all else is passed over. Throws MeshError.
Mesh readObj(files::ByteSource& source, std::uint64_t offset);

}  // namespace stiltforge::mesh
