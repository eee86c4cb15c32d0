#pragma once

#include <cstddef>
#include <string>

#include "mesh/mesh.h"

namespace stiltforge::mesh {

/// Collects what a reader finds.
class MeshBuilder {
 public:
  explicit MeshBuilder(Format format) { mesh_.format = format; }

  /// The triangles from here on belong to a part of this name. Throws MeshError when there are too
  /// many parts.
  void beginObject(std::string name);
  /// Makes room for as many triangles as the file seems to hold. Throws MeshError when it holds too
  /// many.
  void reserve(std::size_t triangles);
  /// Throws MeshError when there are too many.
  void add(const Corner& a, const Corner& b, const Corner& c);
  void warn(std::string sentence) { mesh_.warnings.push_back(std::move(sentence)); }

  std::size_t triangleCount() const { return mesh_.triangleCount(); }

  /// Ends the collection. Throws MeshError when there is no triangle.
  Mesh finish();

 private:
  void endObject();

  Mesh mesh_;
  std::string name_;
  std::size_t begin_ = 0;  // first triangle of the part
};

/// Throws MeshError when there are more triangles than a mesh may have.
void requireTriangleCount(std::size_t triangles);

}  // namespace stiltforge::mesh
