#include "slicing/mesh_report.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "slicing/mesh_part.h"
#include "slicing/vector.h"

namespace stiltforge::slicing {

namespace {

// Nesting compares parts pairwise; a mesh of more closed parts than this is taken as not nested.
constexpr std::size_t mostPartsForNesting = 4096;

bool encloses(const Bounds& outer, const Bounds& inner) {
  return outer.min.x < inner.min.x && outer.max.x > inner.max.x && outer.min.y < inner.min.y &&
         outer.max.y > inner.max.y && outer.min.z < inner.min.z && outer.max.z > inner.max.z;
}

// How often a closed part winds around a point, from its crossings with the ray straight up.
int windingAround(const Vertex& point, const MeshPart& part, const TriangleMesh& mesh) {
  int winding = 0;
  for (const uint32_t t : part.triangles) {
    const Triangle& triangle = mesh.triangles[t];
    // Crossings of the triangle's outline with the line through the point along x, half-open in y:
    // left of the point they wind around it.
    int around = 0;
    for (int i = 0; i < 3; ++i) {
      const Vertex& a = triangle[i];
      const Vertex& b = triangle[(i + 1) % 3];
      if ((a.y <= point.y) == (b.y <= point.y)) continue;
      const Vertex& low = a.y < b.y ? a : b;
      const Vertex& high = a.y < b.y ? b : a;
      const double side =
          (static_cast<double>(high.x) - low.x) * (static_cast<double>(point.y) - low.y) -
          (static_cast<double>(high.y) - low.y) * (static_cast<double>(point.x) - low.x);
      if (side < 0) around += a.y < b.y ? -1 : 1;
    }
    if (around == 0) continue;
    const Vector normal =
        cross(between(triangle[0], triangle[1]), between(triangle[0], triangle[2]));
    const double above = dot(normal, between(point, triangle[0])) * (normal.z < 0 ? -1 : 1);
    if (above > 0) winding += normal.z > 0 ? 1 : -1;
  }
  return winding;
}

}  // namespace

MeshReport inspectMesh(const TriangleMesh& mesh, const MeshTopology& topology,
                       const Contact& contact) {
  MeshReport report;
  report.triangles = static_cast<uint32_t>(mesh.triangles.size());
  report.vertices = static_cast<uint32_t>(topology.vertices.size());
  report.bounds = mesh.bounds;
  report.degenerateTriangles = static_cast<uint32_t>(
      std::count_if(mesh.triangles.begin(), mesh.triangles.end(),
                    [](const Triangle& triangle) { return !hasArea(triangle); }));
  const std::vector<MeshPart> parts = collectParts(mesh, topology);
  report.parts = static_cast<uint32_t>(parts.size());
  const FloatingParts floating = findFloatingParts(parts, mesh.bounds.min.z, contact);
  report.floatingParts = floating.count;
  report.floatingFrom = floating.from;

  std::vector<const MeshPart*> closed;
  for (const MeshPart& part : parts) {
    report.openEdges += part.openEdges;
    report.nonManifoldEdges += part.nonManifoldEdges;
    report.misorientedEdges += part.misorientedEdges;
    report.signedVolume += part.volume;
    if (part.closed) {
      closed.push_back(&part);
    } else {
      ++report.openParts;
      report.expectedVolume += std::fabs(part.volume);
    }
  }
  for (const MeshPart* part : closed) {
    int winding = 0;
    if (closed.size() <= mostPartsForNesting) {
      const Vertex& inside = mesh.triangles[part->triangles.front()].front();
      for (const MeshPart* outer : closed) {
        if (encloses(outer->bounds, part->bounds)) winding += windingAround(inside, *outer, mesh);
      }
    }
    const int own = part->volume < 0 ? -1 : 1;
    if (winding == 0) {
      report.expectedVolume += std::fabs(part->volume);
      report.flippedParts += own < 0 ? 1 : 0;
    } else if (winding + own == 0) {
      report.expectedVolume -= std::fabs(part->volume);
      ++report.cavities;
    }
  }
  return report;
}

}  // namespace stiltforge::slicing
