#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace stiltforge::mesh {

enum class Format { binaryStl, textStl, obj, ply, threeMf };

/// As people call it: "binary STL", "3MF".
const char* nameOf(Format format);

/// A corner of a triangle, in the file's own coordinates.
struct Corner {
  float x = 0, y = 0, z = 0;

  bool operator==(const Corner& other) const {
    return x == other.x && y == other.y && z == other.z;
  }
};

/// A named part of a file: a solid of a text STL, an object of an OBJ, a build item of a 3MF.
struct Object {
  std::string name;  ///< as the file has it, in any encoding; empty where it has none
  std::size_t triangles = 0;
};

/// What a mesh file holds.
struct Mesh {
  Format format = Format::binaryStl;
  /// Nine floats a triangle: x, y, z of its three corners, counter-clockwise as seen from outside.
  /// All are finite. Millimetres, which files without a unit are taken to be in.
  std::vector<float> positions;
  /// At least one, in the order of their triangles, which add up to all.
  std::vector<Object> objects;
  /// Sentences for the person who chose the file, on what was left out or mended.
  std::vector<std::string> warnings;

  std::size_t triangleCount() const { return positions.size() / 9; }
};

}  // namespace stiltforge::mesh
