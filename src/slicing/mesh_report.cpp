#include "slicing/mesh_report.h"

#include <cmath>
#include <cstddef>
#include <vector>

namespace stiltforge::slicing {

namespace {

// Nesting compares parts pairwise; a mesh of more closed parts than this is taken as not nested.
constexpr std::size_t mostPartsForNesting = 4096;

struct Vector {
  double x, y, z;
};

Vector between(const Vertex& from, const Vertex& to) {
  return {static_cast<double>(to.x) - from.x, static_cast<double>(to.y) - from.y,
          static_cast<double>(to.z) - from.z};
}

Vector cross(const Vector& a, const Vector& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

double dot(const Vector& a, const Vector& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

bool isDegenerate(const Triangle& triangle) {
  const Vector normal = cross(between(triangle[0], triangle[1]), between(triangle[0], triangle[2]));
  return normal.x == 0 && normal.y == 0 && normal.z == 0;
}

struct Part {
  Bounds bounds;
  std::vector<uint32_t> triangles;
  bool closed = true;
  double volume = 0;  // signed

  bool encloses(const Part& other) const {
    return bounds.min.x < other.bounds.min.x && bounds.max.x > other.bounds.max.x &&
           bounds.min.y < other.bounds.min.y && bounds.max.y > other.bounds.max.y &&
           bounds.min.z < other.bounds.min.z && bounds.max.z > other.bounds.max.z;
  }
};

double signedVolume(const Part& part, const TriangleMesh& mesh) {
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

std::vector<Part> collectParts(const TriangleMesh& mesh, const MeshTopology& topology) {
  std::vector<Part> parts(topology.partCount);
  std::vector<uint32_t> partOfVertex(topology.vertices.size());
  for (uint32_t t = 0; t < mesh.triangles.size(); ++t) {
    const uint32_t index = topology.partOfTriangle[t];
    Part& part = parts[index];
    if (part.triangles.empty()) part.bounds = {mesh.triangles[t][0], mesh.triangles[t][0]};
    part.triangles.push_back(t);
    for (const Vertex& corner : mesh.triangles[t]) part.bounds.extend(corner);
    for (const uint32_t vertex : topology.corners[t]) partOfVertex[vertex] = index;
  }
  for (const IrregularEdge& edge : topology.irregularEdges) {
    if (!edge.isBalanced()) parts[partOfVertex[edge.low]].closed = false;
  }
  for (Part& part : parts) part.volume = signedVolume(part, mesh);
  return parts;
}

// How often a closed part winds around a point, from its crossings with the ray straight up.
int windingAround(const Vertex& point, const Part& part, const TriangleMesh& mesh) {
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

MeshReport inspectMesh(const TriangleMesh& mesh, const MeshTopology& topology) {
  MeshReport report;
  report.triangles = static_cast<uint32_t>(mesh.triangles.size());
  report.vertices = static_cast<uint32_t>(topology.vertices.size());
  report.parts = topology.partCount;
  report.bounds = mesh.bounds;
  for (const Triangle& triangle : mesh.triangles) {
    report.degenerateTriangles += isDegenerate(triangle) ? 1 : 0;
  }
  for (const IrregularEdge& edge : topology.irregularEdges) {
    if (edge.triangles() == 1) ++report.openEdges;
    if (edge.triangles() == 2) ++report.misorientedEdges;
    if (edge.triangles() > 2) ++report.nonManifoldEdges;
  }

  const std::vector<Part> parts = collectParts(mesh, topology);
  std::vector<const Part*> closed;
  for (const Part& part : parts) {
    report.signedVolume += part.volume;
    if (part.closed) {
      closed.push_back(&part);
    } else {
      ++report.openParts;
      report.expectedVolume += std::fabs(part.volume);
    }
  }
  for (const Part* part : closed) {
    int winding = 0;
    if (closed.size() <= mostPartsForNesting) {
      const Vertex& inside = mesh.triangles[part->triangles.front()].front();
      for (const Part* outer : closed) {
        if (outer->encloses(*part)) winding += windingAround(inside, *outer, mesh);
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
