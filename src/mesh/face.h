#pragma once

#include <span>

#include "mesh/limits.h"
#include "mesh/mesh_builder.h"
#include "mesh/mesh_error.h"
#include "mesh/polygon.h"

namespace stiltforge::mesh {

/// Adds the triangles of a face. Throws MeshError when it has too few or too many corners; name()
/// gives the face's name for it, such as "face 7".
template <typename Name>
void addFace(MeshBuilder& builder, PolygonCutter& cutter, std::span<const Corner> corners,
             Name&& name) {
  if (corners.size() < 3) {
    throw MeshError(name() + " has " + counted(corners.size(), "corner"), copyAgain);
  }
  const auto triangles = cutter.cut(corners);
  if (!triangles) {
    throw MeshError(name() + " has " + counted(corners.size(), "corner") +
                        " and is not convex; the limit for such faces is " +
                        grouped(mostCornersNotConvex),
                    "Export the model as triangles");
  }
  for (const auto& [a, b, c] : *triangles) builder.add(corners[a], corners[b], corners[c]);
}

}  // namespace stiltforge::mesh
