#pragma once

#include <cstdint>

#include "files/byte_source.h"
#include "mesh/mesh.h"

namespace stiltforge::mesh {

/// Whether the file is exactly as long as the number of triangles in a binary STL's header asks
/// for.
bool hasBinaryStlLength(files::ByteSource& source);

/// Both throw MeshError.
Mesh readBinaryStl(files::ByteSource& source);
/// From `offset` on.
Mesh readTextStl(files::ByteSource& source, std::uint64_t offset);

}  // namespace stiltforge::mesh
