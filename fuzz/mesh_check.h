#pragma once

#include <cmath>
#include <cstddef>
#include <cstring>
#include <span>

#include "mesh/mesh_error.h"
#include "mesh/read_mesh.h"
#include "require.h"

// Any bytes of a file of this name give an error with a sentence or a usable mesh.
inline void checkMeshFile(std::span<const char> bytes, const char* name) {
  try {
    const stiltforge::mesh::Mesh mesh = stiltforge::mesh::readMesh(bytes, name);
    require(!mesh.positions.empty() && mesh.positions.size() % 9 == 0, "not whole triangles");
    for (const float value : mesh.positions) require(std::isfinite(value), "not a finite number");
    std::size_t triangles = 0;
    for (const auto& object : mesh.objects) triangles += object.triangles;
    require(triangles == mesh.triangleCount(), "the objects do not add up to the mesh");
    for (const auto& warning : mesh.warnings) require(warning.size() > 10, "an empty warning");
  } catch (const stiltforge::mesh::MeshError& error) {
    require(std::strlen(error.what()) > 20, "an error without a sentence");
    for (const char* c = error.what(); *c != '\0'; ++c) {
      require(*c >= ' ' && *c < 0x7f, "an error that shows control characters");
    }
  }
}

inline std::span<const char> asText(const unsigned char* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}
