#include "slicing/mesh_part.h"

#include <cstddef>
#include <utility>

#include "slicing/vector.h"

namespace stiltforge::slicing {

namespace {

double signedVolume(const MeshPart& part, const TriangleMesh& mesh) {
  const Bounds& box = part.bounds;
  const Vertex centre{box.min.x / 2 + box.max.x / 2, box.min.y / 2 + box.max.y / 2,
                      box.min.z / 2 + box.max.z / 2};
  double sixfold = 0;
  for (const uint32_t t : part.triangles) {
    const Triangle& triangle = mesh.triangles[t];
    sixfold += dot(between(centre, triangle[0]),
                   cross(between(centre, triangle[1]), between(centre, triangle[2])));
  }
  return sixfold / 6;
}

void addEdge(const IrregularEdge& edge, MeshPart& part) {
  if (edge.triangles() == 1) ++part.openEdges;
  if (edge.triangles() == 2) ++part.misorientedEdges;
  if (edge.triangles() > 2) ++part.nonManifoldEdges;
  if (!edge.isBalanced()) part.closed = false;
}

}  // namespace

std::vector<MeshPart> collectParts(const TriangleMesh& mesh, const MeshTopology& topology) {
  std::vector<MeshPart> parts(topology.partCount);
  std::vector<uint8_t> haveArea(topology.partCount, 0);
  std::vector<uint32_t> partOfVertex(topology.vertices.size());
  for (uint32_t t = 0; t < mesh.triangles.size(); ++t) {
    const Triangle& triangle = mesh.triangles[t];
    const uint32_t index = topology.partOfTriangle[t];
    for (const uint32_t vertex : topology.corners[t]) partOfVertex[vertex] = index;
    parts[index].triangles.push_back(t);
    if (!hasArea(triangle)) continue;
    if (haveArea[index] == 0) parts[index].bounds = {triangle[0], triangle[0]};
    haveArea[index] = 1;
    parts[index].bounds.extend(triangle);
  }
  for (const IrregularEdge& edge : topology.irregularEdges) {
    addEdge(edge, parts[partOfVertex[edge.low]]);
  }
  std::size_t kept = 0;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    if (haveArea[i] == 0) continue;
    parts[i].volume = signedVolume(parts[i], mesh);
    if (kept != i) parts[kept] = std::move(parts[i]);
    ++kept;
  }
  parts.resize(kept);
  return parts;
}

}  // namespace stiltforge::slicing
