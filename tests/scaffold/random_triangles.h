#pragma once

#include <cstddef>
#include <random>
#include <vector>

#include "slicing/triangle_mesh.h"

namespace stiltforge::scaffold {

/// Triangles of any shape in a cube of 10 mm: small, long, flat on the plate, upright, or nothing
/// but a line.
inline std::vector<slicing::Triangle> randomTriangles(std::size_t count, uint32_t seed) {
  std::mt19937 random(seed);
  const auto number = [&](float most) { return most * static_cast<float>(random() % 1024) / 1024; };
  std::vector<slicing::Triangle> triangles(count);
  for (slicing::Triangle& triangle : triangles) {
    const float size = random() % 4 == 0 ? 10.0F : 1.0F;
    const slicing::Vertex from{number(10 - size), number(10 - size), number(10 - size)};
    for (slicing::Vertex& corner : triangle) {
      corner = {from.x + number(size), from.y + number(size), from.z + number(size)};
    }
    switch (random() % 8) {
      case 0:
        triangle[1].z = triangle[2].z = triangle[0].z;
        break;
      case 1:
        triangle[1].x = triangle[2].x = triangle[0].x;
        break;
      case 2:
        triangle[2] = triangle[1];
        break;
      default:
        break;
    }
  }
  return triangles;
}

}  // namespace stiltforge::scaffold
