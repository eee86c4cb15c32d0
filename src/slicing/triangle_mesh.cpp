#include "slicing/triangle_mesh.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string>

#include "runtime/apart.h"
#include "runtime/number_text.h"
#include "slicing/slicing_error.h"
#include "slicing/vector.h"

namespace stiltforge::slicing {

namespace {

constexpr std::size_t floatsPerTriangle = 9;
// Corner and edge numbers of the topology stay within 32 bits.
constexpr std::size_t mostTriangles = std::size_t{1} << 29;

[[noreturn]] STILTFORGE_APART void refuseCorner(const Vertex& corner, std::size_t triangle) {
  throw SlicingError(
      "Triangle " + std::to_string(triangle) + " (counted from 0) has a corner at (" +
      numberText(corner.x) + ", " + numberText(corner.y) + ", " + numberText(corner.z) +
      "); every coordinate must be a finite number. Repair or export the mesh anew.");
}

void requireFinite(const Vertex& corner, std::size_t triangle) {
  if (std::isfinite(corner.x) && std::isfinite(corner.y) && std::isfinite(corner.z)) return;
  refuseCorner(corner, triangle);
}

STILTFORGE_APART void requireTriangles(std::size_t coordinates) {
  if (coordinates == 0) {
    throw SlicingError("The mesh has no triangles. Check that the file holds a surface mesh.");
  }
  if (coordinates % floatsPerTriangle != 0) {
    throw SlicingError("The mesh has " + std::to_string(coordinates) +
                       " coordinates, which is not a multiple of 9 (three corners of x, y, z for a "
                       "triangle). The last triangle is incomplete.");
  }
  const std::size_t count = coordinates / floatsPerTriangle;
  if (count > mostTriangles) {
    throw SlicingError("The mesh has " + std::to_string(count) + " triangles; the limit is " +
                       std::to_string(mostTriangles) + ". Simplify it first.");
  }
}

[[noreturn]] STILTFORGE_APART void refuseFlat(std::size_t count) {
  throw SlicingError("None of the mesh's " + std::to_string(count) +
                     " triangles has an area. Check that the file holds a surface mesh.");
}

}  // namespace

bool hasArea(const Triangle& triangle) {
  const Vector normal = cross(between(triangle[0], triangle[1]), between(triangle[0], triangle[2]));
  return normal.x != 0 || normal.y != 0 || normal.z != 0;
}

TriangleMesh TriangleMesh::fromSoup(std::span<const float> positions) {
  requireTriangles(positions.size());
  const std::size_t count = positions.size() / floatsPerTriangle;
  TriangleMesh mesh;
  mesh.triangles.resize(count);
  const float* next = positions.data();
  for (std::size_t t = 0; t < count; ++t) {
    for (Vertex& corner : mesh.triangles[t]) {
      corner = {next[0] + 0.0f, next[1] + 0.0f, next[2] + 0.0f};
      next += 3;
      requireFinite(corner, t);
    }
  }
  const auto first = std::find_if(mesh.triangles.begin(), mesh.triangles.end(), hasArea);
  if (first == mesh.triangles.end()) refuseFlat(count);
  mesh.bounds = {first->front(), first->front()};
  for (const Triangle& triangle : mesh.triangles) {
    if (hasArea(triangle)) mesh.bounds.extend(triangle);
  }
  return mesh;
}

}  // namespace stiltforge::slicing
