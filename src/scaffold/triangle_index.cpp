#include "scaffold/triangle_index.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

#include "runtime/worker_pool.h"

namespace stiltforge::scaffold {

namespace {

using slicing::cross;
using slicing::dot;

constexpr std::size_t trianglesPerLeaf = 4;
constexpr std::size_t trianglesPerTask = std::size_t{1} << 14;
// Steps of the curve along each axis.
constexpr double curveSteps = 1024;

// The ten bits of a number, two places apart.
uint32_t spread(uint32_t value) {
  value = (value | (value << 16)) & 0x030000FF;
  value = (value | (value << 8)) & 0x0300F00F;
  value = (value | (value << 4)) & 0x030C30C3;
  value = (value | (value << 2)) & 0x09249249;
  return value;
}

uint32_t stepOf(float low, float high, float min, float max) {
  const double extent = static_cast<double>(max) - min;
  if (!(extent > 0)) return 0;
  const double middle = (static_cast<double>(low) + high) / 2;
  return static_cast<uint32_t>(
      std::clamp((middle - min) / extent * curveSteps, 0.0, curveSteps - 1));
}

uint32_t placeOnCurve(const Triangle& t, const slicing::Bounds& bounds) {
  const auto [lowX, highX] = std::minmax({t[0].x, t[1].x, t[2].x});
  const auto [lowY, highY] = std::minmax({t[0].y, t[1].y, t[2].y});
  const auto [lowZ, highZ] = std::minmax({t[0].z, t[1].z, t[2].z});
  return spread(stepOf(lowX, highX, bounds.min.x, bounds.max.x)) |
         spread(stepOf(lowY, highY, bounds.min.y, bounds.max.y)) << 1 |
         spread(stepOf(lowZ, highZ, bounds.min.z, bounds.max.z)) << 2;
}

std::size_t tasksFor(std::size_t triangles) {
  return triangles / trianglesPerTask + 1;
}

// A place on the curve, and the triangle there: no two are equal, so that there is one order.
using PlacedTriangle = std::pair<uint32_t, uint32_t>;

std::vector<PlacedTriangle>::iterator at(std::vector<PlacedTriangle>& order, std::size_t index) {
  return order.begin() + static_cast<std::ptrdiff_t>(index);
}

Vector unitNormal(const Triangle& triangle) {
  const Vector a = cornerOf(triangle, 0);
  const Vector normal = cross(cornerOf(triangle, 1) - a, cornerOf(triangle, 2) - a);
  const double length = std::sqrt(dot(normal, normal));
  return length > 0 ? normal * (1 / length) : Vector{0, 0, 0};
}

// A line with room around it, which passes boxes or does not.
class ThickLine {
 public:
  ThickLine(const Vector& a, const Vector& b, double distance)
      : axes_{Axis(a.x, b.x), Axis(a.y, b.y), Axis(a.z, b.z)},
        // More than rounding takes away.
        room_(distance + 1e-9 * (1 + distance)) {}

  // Whether it may touch the box.
  bool reaches(const float* min, const float* max) const {
    double begin = -slack;
    double end = 1 + slack;
    for (std::size_t i = 0; i < 3; ++i) axes_[i].narrow(min[i] - room_, max[i] + room_, begin, end);
    return begin <= end;
  }

 private:
  static constexpr double slack = 1e-9;
  static constexpr double shortest = 1e-12;  // mm

  struct Axis {
    Axis(double a, double b) : from(a), perLength(std::abs(b - a) > shortest ? 1 / (b - a) : 0) {}

    // What of the line lies between two planes across the axis.
    void narrow(double low, double high, double& begin, double& end) const {
      if (perLength == 0) {
        if (from < low || from > high) end = begin - 1;
        return;
      }
      const double first = (low - from) * perLength;
      const double second = (high - from) * perLength;
      begin = std::max(begin, std::min(first, second) - slack);
      end = std::min(end, std::max(first, second) + slack);
    }

    double from;
    double perLength;
  };

  std::array<Axis, 3> axes_;
  double room_;
};

}  // namespace

std::size_t TriangleIndex::looksAt(std::size_t triangles) {
  return 2 * tasksFor(triangles);
}

TriangleIndex::TriangleIndex(slicing::TriangleMesh mesh, const std::function<void()>& looked,
                             const std::atomic<bool>* cancelled)
    : bounds_(mesh.bounds) {
  const auto isCancelled = [&] { return cancelled && *cancelled; };
  std::vector<Triangle>& given = mesh.triangles;
  given.erase(std::remove_if(given.begin(), given.end(),
                             [](const Triangle& triangle) { return !hasArea(triangle); }),
              given.end());
  const std::size_t tasks = tasksFor(given.size());
  const auto firstOf = [&](std::size_t task) { return given.size() * task / tasks; };
  std::vector<PlacedTriangle> order(given.size());
  workers::parallelFor(tasks, [&](std::size_t t) {
    if (isCancelled()) return;
    for (std::size_t i = firstOf(t); i < firstOf(t + 1); ++i) {
      order[i] = {placeOnCurve(given[i], bounds_), static_cast<uint32_t>(i)};
    }
    std::sort(at(order, firstOf(t)), at(order, firstOf(t + 1)));
    if (looked) looked();
  });
  for (std::size_t sorted = 1; sorted < tasks; sorted *= 2) {
    workers::parallelFor((tasks - 1) / (2 * sorted) + 1, [&](std::size_t pair) {
      const std::size_t first = 2 * sorted * pair;
      const std::size_t middle = std::min(first + sorted, tasks);
      const std::size_t end = std::min(middle + sorted, tasks);
      if (isCancelled()) return;
      std::inplace_merge(at(order, firstOf(first)), at(order, firstOf(middle)),
                         at(order, firstOf(end)));
    });
  }
  if (isCancelled()) return;
  triangles_.resize(given.size());
  workers::parallelFor(tasks, [&](std::size_t t) {
    for (std::size_t i = firstOf(t); i < firstOf(t + 1); ++i)
      triangles_[i] = given[order[i].second];
    if (looked) looked();
  });

  while (leaves_ * trianglesPerLeaf < triangles_.size()) leaves_ *= 2;
  constexpr float infinity = std::numeric_limits<float>::infinity();
  const Box nothing{{infinity, infinity, infinity}, {-infinity, -infinity, -infinity}};
  boxes_.assign(2 * leaves_, nothing);
  for (std::size_t i = 0; i < triangles_.size(); ++i) {
    Box& box = boxes_[leaves_ + i / trianglesPerLeaf];
    for (const slicing::Vertex& corner : triangles_[i]) {
      const float place[3] = {corner.x, corner.y, corner.z};
      for (std::size_t axis = 0; axis < 3; ++axis) {
        box.min[axis] = std::min(box.min[axis], place[axis]);
        box.max[axis] = std::max(box.max[axis], place[axis]);
      }
    }
  }
  for (std::size_t i = leaves_ - 1; i > 0; --i) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      boxes_[i].min[axis] = std::min(boxes_[2 * i].min[axis], boxes_[2 * i + 1].min[axis]);
      boxes_[i].max[axis] = std::max(boxes_[2 * i].max[axis], boxes_[2 * i + 1].max[axis]);
    }
  }
}

// Calls visit(triangle) for those in boxes that `accept` takes, until it returns false.
template <class Accept, class Visit>
void TriangleIndex::visit(Accept&& accept, Visit&& visit) const {
  // Two for each level of the tree.
  std::array<std::size_t, 128> open;
  std::size_t count = 0;
  open[count++] = 1;
  while (count > 0) {
    const std::size_t node = open[--count];
    // The last leaves may be empty.
    const Box& box = boxes_[node];
    if (box.min[0] > box.max[0] || !accept(box)) continue;
    if (node < leaves_) {
      open[count++] = 2 * node + 1;
      open[count++] = 2 * node;
      continue;
    }
    const std::size_t first = (node - leaves_) * trianglesPerLeaf;
    const std::size_t end = std::min(first + trianglesPerLeaf, triangles_.size());
    for (std::size_t i = first; i < end; ++i) {
      if (!visit(triangles_[i])) return;
    }
  }
}

bool TriangleIndex::isFree(const Vector& a, const Vector& b, double distance,
                           Obstacle* last) const {
  const auto isInTheWay = [&](const Triangle& triangle) {
    return squaredDistance(a, b, triangle) < distance * distance;
  };
  if (last && *last && isInTheWay(**last)) return false;
  const ThickLine line(a, b, distance);
  Obstacle found = nullptr;
  visit([&](const Box& box) { return line.reaches(box.min, box.max); },
        [&](const Triangle& triangle) {
          if (isBeyond(a, b, triangle, distance)) return true;
          const auto [lowX, highX] = std::minmax({triangle[0].x, triangle[1].x, triangle[2].x});
          const auto [lowY, highY] = std::minmax({triangle[0].y, triangle[1].y, triangle[2].y});
          const auto [lowZ, highZ] = std::minmax({triangle[0].z, triangle[1].z, triangle[2].z});
          const float min[3] = {lowX, lowY, lowZ};
          const float max[3] = {highX, highY, highZ};
          if (line.reaches(min, max) && isInTheWay(triangle)) found = &triangle;
          return found == nullptr;
        });
  if (last && found) *last = found;
  return found == nullptr;
}

bool TriangleIndex::isFree(const Column& column, Obstacle* last) const {
  if (last && *last && reachesInto(**last, column)) return false;
  Obstacle found = nullptr;
  const auto overlaps = [](double low, double high, double min, double max) {
    return low <= max && high >= min;
  };
  visit(
      [&](const Box& box) {
        const double r = column.radius;
        return overlaps(column.x - r, column.x + r, box.min[0], box.max[0]) &&
               overlaps(column.y - r, column.y + r, box.min[1], box.max[1]) &&
               overlaps(column.bottom, column.top, box.min[2], box.max[2]);
      },
      [&](const Triangle& triangle) {
        if (reachesInto(triangle, column)) found = &triangle;
        return found == nullptr;
      });
  if (last && found) *last = found;
  return found == nullptr;
}

template <class Better>
std::optional<TriangleIndex::Hit> TriangleIndex::crossing(double x, double y, double from,
                                                          double to, Better&& better) const {
  std::optional<Hit> found;
  visit(
      [&](const Box& box) {
        return x >= box.min[0] && x <= box.max[0] && y >= box.min[1] && y <= box.max[1] &&
               to >= box.min[2] && from <= box.max[2];
      },
      [&](const Triangle& triangle) {
        const std::optional<double> z = heightAt(triangle, x, y);
        if (!z || *z < from || *z > to || (found && !better(*z, found->point.z))) return true;
        found = Hit{{x, y, *z}, unitNormal(triangle)};
        return true;
      });
  return found;
}

std::optional<TriangleIndex::Hit> TriangleIndex::lowest(double x, double y, double from,
                                                        double to) const {
  return crossing(x, y, from, to, [](double z, double best) { return z < best; });
}

std::optional<TriangleIndex::Hit> TriangleIndex::highest(double x, double y, double from,
                                                         double to) const {
  return crossing(x, y, from, to, [](double z, double best) { return z > best; });
}

std::optional<TriangleIndex::Hit> TriangleIndex::nearest(const Vector& point,
                                                         double distance) const {
  std::optional<Hit> found;
  double reach = distance;
  visit(
      [&](const Box& box) {
        return point.x >= box.min[0] - reach && point.x <= box.max[0] + reach &&
               point.y >= box.min[1] - reach && point.y <= box.max[1] + reach &&
               point.z >= box.min[2] - reach && point.z <= box.max[2] + reach;
      },
      [&](const Triangle& triangle) {
        const Vector candidate = nearestPoint(point, triangle);
        const Vector between = candidate - point;
        const double away = std::sqrt(dot(between, between));
        if (away > reach || (found && away == reach)) return true;
        reach = away;
        found = Hit{candidate, unitNormal(triangle)};
        return true;
      });
  return found;
}

Vector TriangleIndex::normalsAround(const Vector& point, double distance,
                                    const Vector& side) const {
  Vector sum{0, 0, 0};
  visit(
      [&](const Box& box) {
        return point.x >= box.min[0] - distance && point.x <= box.max[0] + distance &&
               point.y >= box.min[1] - distance && point.y <= box.max[1] + distance &&
               point.z >= box.min[2] - distance && point.z <= box.max[2] + distance;
      },
      [&](const Triangle& triangle) {
        const Vector between = nearestPoint(point, triangle) - point;
        if (dot(between, between) > distance * distance) return true;
        const Vector normal = unitNormal(triangle);
        sum = sum + normal * (dot(normal, side) < 0 ? -1 : 1);
        return true;
      });
  return sum;
}

}  // namespace stiltforge::scaffold
