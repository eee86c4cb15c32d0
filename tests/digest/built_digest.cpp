#include "built_digest.h"

#include <utility>
#include <vector>

#include "scaffold/scaffold.h"
#include "scaffold/triangle_index.h"
#include "sliced_model.h"

namespace stiltforge::digest {

namespace {

// All over the model's undersides.
std::vector<slicing::Vector> undersides(const slicing::TriangleMesh& part) {
  const scaffold::TriangleIndex index(part);
  std::vector<slicing::Vector> points;
  for (double x = part.bounds.min.x; x < part.bounds.max.x; x += 3) {
    for (double y = part.bounds.min.y; y < part.bounds.max.y; y += 3) {
      double from = part.bounds.min.z;
      // Those above others, too.
      while (const auto hit = index.lowest(x, y, from, part.bounds.max.z)) {
        points.push_back(hit->point);
        from = hit->point.z + 2;
      }
    }
  }
  return points;
}

}  // namespace

void addBuilt(Digest& digest) {
  const auto part = slicing::TriangleMesh::fromSoup(modelMesh());
  const std::vector<slicing::Vector> points = undersides(part);
  for (const double raft : {0.0, 1.0}) {
    scaffold::Settings settings;
    settings.raftThickness = raft;
    const double plateZ = part.bounds.min.z - 3 * raft;
    const scaffold::Scaffold built = scaffold::build(part, points, plateZ, settings);
    for (const slicing::Triangle& triangle : built.triangles) {
      for (const slicing::Vertex& corner : triangle) {
        digest.add(corner.x);
        digest.add(corner.y);
        digest.add(corner.z);
      }
    }
    for (const scaffold::Support& support : built.supports) {
      digest.add(support.point);
      digest.add(static_cast<uint8_t>(support.stand));
    }
    for (const scaffold::BuiltBrace& brace : built.braces) {
      digest.add(brace.first);
      digest.add(brace.second);
    }
    for (const scaffold::LeftOut& left : built.leftOut) {
      digest.add(left.point);
      digest.add(static_cast<uint8_t>(left.reason));
    }
  }
}

}  // namespace stiltforge::digest
