#pragma once

#include <atomic>
#include <filesystem>
#include <span>

#include "mesh/mesh.h"

namespace stiltforge::mesh {

/// Reads a mesh in STL (binary or text), OBJ, PLY or 3MF; the content tells the format. The
/// extension of `name`, the file's, counts only where the content leaves it open. `cancelled`,
/// unless it is null, ends the reading with Cancelled once another thread sets it.
///
/// Throws MeshError, a message for the person who chose the file, when it is no usable mesh, and
/// std::bad_alloc. The same bytes give the same mesh on every platform and in every locale. Any
/// number of threads may read at once.
Mesh readMesh(std::span<const char> bytes, const std::filesystem::path& name = {},
              const std::atomic<bool>* cancelled = nullptr);

/// The same for a file, which is read in pieces: of a text or an archive no more is in memory than
/// the mesh and a small buffer.
Mesh readMeshFile(const std::filesystem::path& file, const std::atomic<bool>* cancelled = nullptr);

}  // namespace stiltforge::mesh
