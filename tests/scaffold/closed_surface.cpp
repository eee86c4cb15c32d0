#include "scaffold/closed_surface.h"

#include <array>
#include <cstddef>
#include <map>
#include <utility>

#include "slicing/vector.h"

namespace stiltforge::scaffold {

bool isClosed(std::span<const slicing::Triangle> surface) {
  using Corner = std::array<float, 3>;
  std::map<std::pair<Corner, Corner>, int> directed;
  for (const slicing::Triangle& triangle : surface) {
    if (!hasArea(triangle)) return false;
    for (std::size_t i = 0; i < 3; ++i) {
      const slicing::Vertex& a = triangle.at(i);
      const slicing::Vertex& b = triangle.at((i + 1) % 3);
      ++directed[{{a.x, a.y, a.z}, {b.x, b.y, b.z}}];
    }
  }
  for (const auto& [edge, count] : directed) {
    const auto opposite = directed.find({edge.second, edge.first});
    if (count != 1 || opposite == directed.end() || opposite->second != 1) return false;
  }
  return !directed.empty();
}

double volumeOf(std::span<const slicing::Triangle> surface) {
  double six = 0;
  const slicing::Vertex origin = surface.empty() ? slicing::Vertex{} : surface[0][0];
  for (const slicing::Triangle& triangle : surface) {
    six += dot(between(origin, triangle[0]),
               cross(between(origin, triangle[1]), between(origin, triangle[2])));
  }
  return six / 6;
}

}  // namespace stiltforge::scaffold
