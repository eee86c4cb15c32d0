#include "slicing/mesh_topology.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>
#include <numeric>

#include "runtime/apart.h"
#include "runtime/disjoint_sets.h"
#include "slicing/plane_crossing.h"

namespace stiltforge::slicing {

namespace {

constexpr uint32_t none = std::numeric_limits<uint32_t>::max();

// Open addressing over the vertices found so far, at most half full.
class VertexWeld {
 public:
  explicit VertexWeld(std::vector<Vertex>& vertices) : vertices_(vertices), slots_(1024, none) {}

  uint32_t indexOf(const Vertex& position) {
    if (vertices_.size() * 2 >= slots_.size()) grow();
    uint32_t& slot = slotOf(position);
    if (slot == none) {
      slot = static_cast<uint32_t>(vertices_.size());
      vertices_.push_back(position);
    }
    return slot;
  }

 private:
  static uint64_t hash(const Vertex& position) {
    uint32_t bits[3];
    std::memcpy(bits, &position, sizeof bits);
    uint64_t h = bits[0] * 0x9E3779B97F4A7C15u;
    h = (h ^ (h >> 32) ^ bits[1]) * 0xC2B2AE3D27D4EB4Fu;
    h = (h ^ (h >> 32) ^ bits[2]) * 0x165667B19E3779F9u;
    return h ^ (h >> 32);
  }

  uint32_t& slotOf(const Vertex& position) {
    const std::size_t mask = slots_.size() - 1;
    std::size_t at = hash(position) & mask;
    while (slots_[at] != none && !(vertices_[slots_[at]] == position)) at = (at + 1) & mask;
    return slots_[at];
  }

  STILTFORGE_APART void grow() {
    slots_.assign(slots_.size() * 2, none);
    for (uint32_t v = 0; v < vertices_.size(); ++v) slotOf(vertices_[v]) = v;
  }

  std::vector<Vertex>& vertices_;
  std::vector<uint32_t> slots_;
};

// Calls fn(low, high, upwards) for the edges of a triangle in its own direction. A triangle whose
// corners coincide has none: it would only run along its line there and back.
template <class Fn>
void forEachEdge(const std::array<uint32_t, 3>& corners, const std::vector<Vertex>& vertices,
                 Fn fn) {
  if (corners[0] == corners[1] || corners[1] == corners[2] || corners[2] == corners[0]) return;
  for (int i = 0; i < 3; ++i) {
    const uint32_t from = corners[i];
    const uint32_t to = corners[(i + 1) % 3];
    const bool upwards = isBelow(vertices[from], vertices[to]);
    fn(upwards ? from : to, upwards ? to : from, upwards);
  }
}

STILTFORGE_APART std::vector<IrregularEdge> findIrregularEdges(const MeshTopology& mesh) {
  // Edges in buckets by their low vertex, each as its high vertex and direction.
  std::vector<uint32_t> bucketStart(mesh.vertices.size() + 1, 0);
  for (const auto& triangle : mesh.corners) {
    forEachEdge(triangle, mesh.vertices,
                [&](uint32_t low, uint32_t, bool) { ++bucketStart[low + 1]; });
  }
  std::partial_sum(bucketStart.begin(), bucketStart.end(), bucketStart.begin());
  std::vector<uint32_t> uses(bucketStart.back());
  std::vector<uint32_t> fill(bucketStart.begin(), bucketStart.end() - 1);
  for (const auto& triangle : mesh.corners) {
    forEachEdge(triangle, mesh.vertices, [&](uint32_t low, uint32_t high, bool upwards) {
      uses[fill[low]++] = high << 1 | static_cast<uint32_t>(upwards);
    });
  }

  std::vector<IrregularEdge> irregular;
  for (uint32_t low = 0; low < mesh.vertices.size(); ++low) {
    const auto begin = uses.begin() + bucketStart[low];
    const auto end = uses.begin() + bucketStart[low + 1];
    std::sort(begin, end);
    for (auto use = begin; use != end;) {
      IrregularEdge edge{low, *use >> 1, 0, 0};
      for (; use != end && *use >> 1 == edge.high; ++use) {
        ++((*use & 1) != 0 ? edge.upwards : edge.downwards);
      }
      if (edge.upwards != 1 || edge.downwards != 1) irregular.push_back(edge);
    }
  }
  return irregular;
}

STILTFORGE_APART void findParts(MeshTopology& mesh) {
  // Vertices are numbered along the surface, so trees whose root is the lowest stay flat.
  DisjointSets sets(mesh.vertices.size());
  for (const auto& triangle : mesh.corners) {
    sets.unite(triangle[0], triangle[1]);
    sets.unite(triangle[0], triangle[2]);
  }
  std::vector<uint32_t> partOfRoot(mesh.vertices.size(), none);
  mesh.partOfTriangle.reserve(mesh.corners.size());
  for (const auto& triangle : mesh.corners) {
    uint32_t& part = partOfRoot[sets.root(triangle[0])];
    if (part == none) part = mesh.partCount++;
    mesh.partOfTriangle.push_back(part);
  }
}

}  // namespace

MeshTopology::MeshTopology(const TriangleMesh& mesh) {
  VertexWeld weld(vertices);
  corners.reserve(mesh.triangles.size());
  for (const Triangle& triangle : mesh.triangles) {
    const uint32_t a = weld.indexOf(triangle[0]);
    const uint32_t b = weld.indexOf(triangle[1]);
    const uint32_t c = weld.indexOf(triangle[2]);
    corners.push_back({a, b, c});
  }
  irregularEdges = findIrregularEdges(*this);
  findParts(*this);
}

}  // namespace stiltforge::slicing
