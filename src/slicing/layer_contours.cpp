#include "slicing/layer_contours.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace stiltforge::slicing {

namespace {

constexpr std::size_t mostEndsLookedAt = std::size_t{1} << 18;

ZSweep::Interval heightOf(const Triangle& triangle) {
  const auto [low, high] = std::minmax({triangle[0].z, triangle[1].z, triangle[2].z});
  return {low, high};
}

// From the edge that the triangle runs down to the edge that it runs up, so that the segments of
// two triangles with a common edge follow one another.
Segment cutTriangle(const Triangle& triangle, double plane) {
  Segment segment;
  for (int i = 0; i < 3; ++i) {
    const Vertex& from = triangle[i];
    const Vertex& to = triangle[(i + 1) % 3];
    const bool fromBelow = from.z <= plane;
    if (fromBelow == (to.z <= plane)) continue;
    (fromBelow ? segment.to : segment.from) = planeCrossing(from, to, plane);
  }
  return segment;
}

}  // namespace

LayerContours::LayerContours(TriangleMesh mesh, const MeshTopology& topology)
    : mesh_(std::move(mesh)) {
  std::vector<ZSweep::Interval> heights;
  for (const IrregularEdge& edge : topology.irregularEdges) {
    if (edge.isBalanced()) continue;
    const Vertex& low = topology.vertices[edge.low];
    const Vertex& high = topology.vertices[edge.high];
    if (low.z == high.z) continue;
    openEdges_.push_back(
        {low, high, static_cast<int32_t>(edge.upwards) - static_cast<int32_t>(edge.downwards)});
    heights.push_back({low.z, high.z});
  }
  edgeSweep_ = ZSweep(std::move(heights));

  heights.clear();
  heights.reserve(mesh_.triangles.size());
  for (const Triangle& triangle : mesh_.triangles) heights.push_back(heightOf(triangle));
  triangleSweep_ = ZSweep(std::move(heights));
}

void LayerContours::sweepTo(double plane, Cut& cut) {
  cut.plane = plane;
  cut.triangles = triangleSweep_.activeAt(plane);
  cut.openEdges = edgeSweep_.activeAt(plane);
}

void LayerContours::trace(const Cut& cut, const ScreenPlacement& placement,
                          std::vector<Segment>& segments) const {
  segments.clear();
  for (const uint32_t triangle : cut.triangles) {
    const Segment segment = cutTriangle(mesh_.triangles[triangle], cut.plane);
    segments.push_back({placement.toCrop(segment.from), placement.toCrop(segment.to)});
  }
  if (cut.openEdges.empty()) return;
  std::vector<OpenEnd> ends = endsAt(cut.plane, cut.openEdges, placement);
  closeContours(ends, segments);
}

std::vector<OpenEnd> LayerContours::endsAt(double plane, std::span<const uint32_t> edges,
                                           const ScreenPlacement& placement) const {
  std::vector<OpenEnd> ends;
  ends.reserve(edges.size());
  for (const uint32_t edge : edges) {
    const OpenEdge& open = openEdges_[edge];
    ends.push_back({placement.toCrop(planeCrossing(open.low, open.high, plane)), open.surplus});
  }
  return ends;
}

double LayerContours::widestGap(std::span<const double> planes, const ScreenPlacement& placement) {
  if (openEdges_.empty()) return 0;
  std::size_t allEnds = 0;
  for (const double plane : planes) allEnds += edgeSweep_.activeAt(plane).size();
  const std::size_t step = allEnds / mostEndsLookedAt + 1;
  double widest = 0;
  std::vector<Segment> segments;
  for (std::size_t i = 0; i < planes.size(); i += step) {
    std::vector<OpenEnd> ends = endsAt(planes[i], edgeSweep_.activeAt(planes[i]), placement);
    segments.clear();
    closeContours(ends, segments);
    for (const Segment& segment : segments) {
      const double x = segment.to.x - segment.from.x;
      const double y = segment.to.y - segment.from.y;
      widest = std::max(widest, x * x + y * y);
    }
  }
  return std::sqrt(widest);
}

}  // namespace stiltforge::slicing
