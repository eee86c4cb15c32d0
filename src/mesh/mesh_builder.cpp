#include "mesh/mesh_builder.h"

#include <utility>

#include "mesh/limits.h"
#include "mesh/mesh_error.h"

namespace stiltforge::mesh {

void requireTriangleCount(std::size_t triangles) {
  if (triangles <= mostTriangles) return;
  throw MeshError("the mesh has more than " + counted(mostTriangles, "triangle"),
                  "Simplify it in a modelling program");
}

void MeshBuilder::beginObject(std::string name) {
  endObject();
  name_ = std::move(name);
}

void MeshBuilder::reserve(std::size_t triangles) {
  requireTriangleCount(triangles);
  mesh_.positions.reserve(9 * triangles);
}

void MeshBuilder::add(const Corner& a, const Corner& b, const Corner& c) {
  if (mesh_.positions.size() >= 9 * mostTriangles) requireTriangleCount(mostTriangles + 1);
  mesh_.positions.insert(mesh_.positions.end(), {a.x, a.y, a.z, b.x, b.y, b.z, c.x, c.y, c.z});
}

void MeshBuilder::endObject() {
  const std::size_t end = triangleCount();
  if (end == begin_) return;
  if (mesh_.objects.size() == mostObjects) {
    throw MeshError("the file has more than " + counted(mostObjects, "object"),
                    "Join objects in a modelling program");
  }
  mesh_.objects.push_back({std::move(name_), end - begin_});
  begin_ = end;
}

Mesh MeshBuilder::finish() {
  endObject();
  if (mesh_.objects.empty()) {
    throw MeshError("the mesh has no triangles", "Export the model as a triangle mesh");
  }
  return std::move(mesh_);
}

}  // namespace stiltforge::mesh
