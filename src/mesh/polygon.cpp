#include "mesh/polygon.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

#include "mesh/limits.h"

namespace stiltforge::mesh {

namespace {

using Point3 = std::array<double, 3>;

Point3 toDouble(const Corner& corner) {
  return {corner.x, corner.y, corner.z};
}

/// Twice the sum of the areas, as seen along each axis: M. E. Newell's normal.
Point3 normalOf(std::span<const Corner> corners) {
  Point3 normal{};
  const Point3 origin = toDouble(corners[0]);
  const auto relative = [&](const Corner& corner) {
    const Point3 point = toDouble(corner);
    return Point3{point[0] - origin[0], point[1] - origin[1], point[2] - origin[2]};
  };
  for (std::size_t i = 0; i < corners.size(); ++i) {
    const Point3 a = relative(corners[i]);
    const Point3 b = relative(corners[(i + 1) % corners.size()]);
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const std::size_t u = (axis + 1) % 3;
      const std::size_t v = (axis + 2) % 3;
      normal[axis] += a[u] * b[v] - a[v] * b[u];
    }
  }
  return normal;
}

/// In place of the corner that follows.
constexpr std::uint32_t removed = std::numeric_limits<std::uint32_t>::max();

double cross(double ax, double ay, double bx, double by) {
  return ax * by - ay * bx;
}

}  // namespace

std::optional<std::span<const PolygonCutter::Indices>> PolygonCutter::cut(
    std::span<const Corner> corners) {
  triangles_.clear();
  const auto count = static_cast<std::uint32_t>(corners.size());
  if (count > 3) project(corners);
  if (count == 3 || isConvex()) {
    cutFan(count);
  } else if (count <= mostCornersNotConvex) {
    cutEars();
  } else {
    return std::nullopt;
  }
  return triangles_;
}

// Along the axis on which the face looks largest.
void PolygonCutter::project(std::span<const Corner> corners) {
  const Point3 normal = normalOf(corners);
  std::size_t axis = 0;
  for (std::size_t i = 1; i < 3; ++i) {
    if (std::abs(normal[i]) > std::abs(normal[axis])) axis = i;
  }
  std::size_t u = (axis + 1) % 3;
  std::size_t v = (axis + 2) % 3;
  if (normal[axis] < 0) std::swap(u, v);
  points_.clear();
  points_.reserve(corners.size());
  for (const Corner& corner : corners) {
    const Point3 point = toDouble(corner);
    points_.push_back({point[u], point[v]});
  }
}

// Never turns to the right, and goes round once: its x coordinates rise once and fall once.
bool PolygonCutter::isConvex() const {
  const std::size_t count = points_.size();
  int turnsOfDirection = 0;
  int direction = 0;
  int firstDirection = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const Point& a = points_[i];
    const Point& b = points_[(i + 1) % count];
    const Point& c = points_[(i + 2) % count];
    if (cross(b.x - a.x, b.y - a.y, c.x - b.x, c.y - b.y) < 0) return false;
    const int step = b.x > a.x ? 1 : (b.x < a.x ? -1 : 0);
    if (step == 0) continue;
    if (firstDirection == 0) firstDirection = step;
    if (direction != 0 && step != direction) ++turnsOfDirection;
    direction = step;
  }
  return turnsOfDirection + (direction != firstDirection ? 1 : 0) <= 2;
}

void PolygonCutter::cutFan(std::uint32_t count) {
  for (std::uint32_t i = 2; i < count; ++i) triangles_.push_back({0, i - 1, i});
}

double PolygonCutter::turnAt(std::uint32_t corner) const {
  const Point& a = points_[previous_[corner]];
  const Point& b = points_[corner];
  const Point& c = points_[next_[corner]];
  return cross(b.x - a.x, b.y - a.y, c.x - b.x, c.y - b.y);
}

// Turns to the left and holds no other corner, which would have to be one that turns to the right.
bool PolygonCutter::isEar(std::uint32_t corner) const {
  if (!(turnAt(corner) > 0)) return false;
  const std::uint32_t before = previous_[corner];
  const std::uint32_t after = next_[corner];
  const Point& a = points_[before];
  const Point& b = points_[corner];
  const Point& c = points_[after];
  return std::none_of(reflex_.begin(), reflex_.end(), [&](std::uint32_t other) {
    if (other == before || other == after) return false;
    const Point& p = points_[other];
    const auto isSame = [&](const Point& q) { return p.x == q.x && p.y == q.y; };
    if (isSame(a) || isSame(b) || isSame(c)) return false;
    return cross(b.x - a.x, b.y - a.y, p.x - a.x, p.y - a.y) >= 0 &&
           cross(c.x - b.x, c.y - b.y, p.x - b.x, p.y - b.y) >= 0 &&
           cross(a.x - c.x, a.y - c.y, p.x - c.x, p.y - c.y) >= 0;
  });
}

void PolygonCutter::removeCorner(std::uint32_t corner) {
  triangles_.push_back({previous_[corner], corner, next_[corner]});
  next_[previous_[corner]] = next_[corner];
  previous_[next_[corner]] = previous_[corner];
  // The neighbours may have stopped turning to the right.
  std::erase_if(reflex_, [&](std::uint32_t other) {
    return other == corner ||
           ((other == previous_[corner] || other == next_[corner]) && turnAt(other) > 0);
  });
  next_[corner] = removed;
}

void PolygonCutter::cutEars() {
  const auto count = static_cast<std::uint32_t>(points_.size());
  next_.resize(count);
  previous_.resize(count);
  for (std::uint32_t i = 0; i < count; ++i) {
    next_[i] = (i + 1) % count;
    previous_[i] = (i + count - 1) % count;
  }
  reflex_.clear();
  for (std::uint32_t i = 0; i < count; ++i) {
    if (!(turnAt(i) > 0)) reflex_.push_back(i);
  }
  // Cutting an ear off makes ears of its neighbours at most, so each corner is looked at few times.
  ears_.clear();
  for (std::uint32_t i = 0; i < count; ++i) {
    if (isEar(i)) ears_.push_back(i);
  }
  std::size_t nextEar = 0;
  std::uint32_t remaining = 0;  // some corner that is left
  for (std::uint32_t left = count; left > 3; --left) {
    std::uint32_t corner = remaining;  // of a face that crosses itself and has no ears any more
    while (nextEar < ears_.size()) {
      const std::uint32_t ear = ears_[nextEar++];
      if (next_[ear] == removed || !isEar(ear)) continue;
      corner = ear;
      break;
    }
    const std::uint32_t before = previous_[corner];
    remaining = next_[corner];
    removeCorner(corner);
    for (const std::uint32_t neighbour : {before, remaining}) {
      if (isEar(neighbour)) ears_.push_back(neighbour);
    }
  }
  triangles_.push_back({previous_[remaining], remaining, next_[remaining]});
}

}  // namespace stiltforge::mesh
