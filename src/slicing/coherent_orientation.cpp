#include "slicing/coherent_orientation.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <tuple>
#include <utility>
#include <vector>

#include "slicing/vector.h"

namespace stiltforge::slicing {

namespace {

constexpr uint32_t none = std::numeric_limits<uint32_t>::max();

struct Neighbour {
  uint32_t triangle = none;
  bool isAgainst = false;  // one of the two has to be turned
};

// Across each triangle's three edges.
using Neighbours = std::vector<std::array<Neighbour, 3>>;

struct EdgeUse {
  uint32_t low, high;
  uint32_t triangle;
  uint8_t side;  // of the triangle
  bool upwards;

  bool isSameEdge(const EdgeUse& other) const { return low == other.low && high == other.high; }
};

Neighbours findNeighbours(const MeshTopology& topology) {
  std::vector<EdgeUse> uses;
  uses.reserve(3 * topology.corners.size());
  for (uint32_t t = 0; t < topology.corners.size(); ++t) {
    const std::array<uint32_t, 3>& corners = topology.corners[t];
    if (corners[0] == corners[1] || corners[1] == corners[2] || corners[2] == corners[0]) continue;
    for (uint8_t side = 0; side < 3; ++side) {
      const uint32_t from = corners[side];
      const uint32_t to = corners[(side + 1) % 3];
      uses.push_back({std::min(from, to), std::max(from, to), t, side, from < to});
    }
  }
  std::sort(uses.begin(), uses.end(), [](const EdgeUse& a, const EdgeUse& b) {
    return std::tie(a.low, a.high, a.triangle) < std::tie(b.low, b.high, b.triangle);
  });
  Neighbours neighbours(topology.corners.size());
  for (auto use = uses.begin(); use != uses.end();) {
    const auto end = std::find_if(use, uses.end(),
                                  [&](const EdgeUse& other) { return !other.isSameEdge(*use); });
    if (end - use == 2) {
      const EdgeUse& other = *(use + 1);
      const bool isAgainst = use->upwards == other.upwards;
      neighbours[use->triangle][use->side] = {other.triangle, isAgainst};
      neighbours[other.triangle][other.side] = {use->triangle, isAgainst};
    }
    use = end;
  }
  return neighbours;
}

double areaOf(const Triangle& triangle) {
  const Vector normal = cross(between(triangle[0], triangle[1]), between(triangle[0], triangle[2]));
  return std::sqrt(dot(normal, normal)) / 2;
}

class Patches {
 public:
  Patches(TriangleMesh& mesh, const MeshTopology& topology)
      : mesh_(mesh), neighbours_(findNeighbours(topology)), sides_(mesh.triangles.size(), unseen) {}

  std::vector<uint32_t> orient() {
    for (uint32_t t = 0; t < sides_.size(); ++t) {
      if (sides_[t] == unseen && collect(t)) turnLesser();
    }
    std::sort(turned_.begin(), turned_.end());
    return std::move(turned_);
  }

 private:
  static constexpr uint8_t unseen = 2;

  // Puts the patch of a triangle into patch_ and each of it on one of two sides; false when
  // neighbours want a triangle on both.
  bool collect(uint32_t first) {
    patch_.assign(1, first);
    sides_[first] = 0;
    bool isOrientable = true;
    for (std::size_t i = 0; i < patch_.size(); ++i) {
      for (const Neighbour& neighbour : neighbours_[patch_[i]]) {
        if (neighbour.triangle == none) continue;
        const auto wanted = static_cast<uint8_t>(sides_[patch_[i]] ^ (neighbour.isAgainst ? 1 : 0));
        uint8_t& side = sides_[neighbour.triangle];
        if (side == unseen) {
          side = wanted;
          patch_.push_back(neighbour.triangle);
        } else if (side != wanted) {
          isOrientable = false;
        }
      }
    }
    return isOrientable;
  }

  void turnLesser() {
    double area[2] = {0, 0};
    bool haveBoth = false;
    for (const uint32_t t : patch_) {
      area[sides_[t]] += areaOf(mesh_.triangles[t]);
      haveBoth = haveBoth || sides_[t] != sides_[patch_.front()];
    }
    if (!haveBoth) return;
    const uint8_t lesser = area[1] <= area[0] ? 1 : 0;
    for (const uint32_t t : patch_) {
      if (sides_[t] != lesser) continue;
      std::swap(mesh_.triangles[t][1], mesh_.triangles[t][2]);
      turned_.push_back(t);
    }
  }

  TriangleMesh& mesh_;
  const Neighbours neighbours_;
  std::vector<uint8_t> sides_;
  std::vector<uint32_t> patch_;
  std::vector<uint32_t> turned_;
};

}  // namespace

std::vector<uint32_t> orientCoherently(TriangleMesh& mesh, const MeshTopology& topology) {
  return Patches(mesh, topology).orient();
}

}  // namespace stiltforge::slicing
