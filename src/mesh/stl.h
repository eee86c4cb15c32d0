#pragma once

#include <cstdint>

#include "mesh/byte_source.h"
#include "mesh/mesh.h"

namespace stiltforge::mesh {

/// Whether the file is exactly as long as the number of triangles in a binary STL's header asks
/// for.
bool hasBinaryStlLength(ByteSource& source);

/// Both throw MeshError.
Mesh readBinaryStl(ByteSource& source);
/// From `offset` on.
Mesh readTextStl(ByteSource& source, std::uint64_t offset);

}  // namespace stiltforge::mesh
