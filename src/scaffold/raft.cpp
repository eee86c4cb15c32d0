#include "scaffold/raft.h"

#include <algorithm>
#include <cstddef>

#include "scaffold/circle.h"

namespace stiltforge::scaffold {

namespace {

using slicing::Triangle;
using slicing::Vector;
using slicing::Vertex;

// A corner of the circle around a foot, below and above: the hulls of both have the same corners.
struct Corner {
  Vertex low;
  Vertex high;
};

double turnAt(const Vertex& a, const Vertex& b, const Vertex& c) {
  return (static_cast<double>(b.x) - a.x) * (static_cast<double>(c.y) - a.y) -
         (static_cast<double>(b.y) - a.y) * (static_cast<double>(c.x) - a.x);
}

// A. M. Andrew, "Another efficient algorithm for convex hulls in two dimensions", 1979. Counter-
// clockwise, without corners on a line of others.
std::vector<Corner> hullOf(std::vector<Corner> corners) {
  std::sort(corners.begin(), corners.end(), [](const Corner& a, const Corner& b) {
    return a.low.x < b.low.x || (a.low.x == b.low.x && a.low.y < b.low.y);
  });
  std::vector<Corner> hull;
  const auto addSide = [&](auto begin, auto end) {
    const std::size_t first = hull.size();
    for (auto corner = begin; corner != end; ++corner) {
      while (hull.size() >= first + 2 &&
             turnAt(hull[hull.size() - 2].low, hull.back().low, corner->low) <= 0) {
        hull.pop_back();
      }
      hull.push_back(*corner);
    }
    hull.pop_back();
  };
  addSide(corners.begin(), corners.end());
  addSide(corners.rbegin(), corners.rend());
  return hull;
}

}  // namespace

void appendRaft(const std::vector<Vector>& feet, double radius, double bottom, double top,
                std::vector<Triangle>& triangles) {
  if (feet.empty()) return;
  std::vector<Corner> corners;
  for (const Vector& foot : feet) {
    for (std::size_t i = 0; i < circleSides; ++i) {
      corners.push_back({circleCorner(foot.x, foot.y, bottom, radius, i),
                         circleCorner(foot.x, foot.y, top, radius + (top - bottom), i)});
    }
  }
  const std::vector<Corner> hull = hullOf(std::move(corners));
  for (std::size_t i = 0; i < hull.size(); ++i) {
    const Corner& here = hull[i];
    const Corner& next = hull[(i + 1) % hull.size()];
    triangles.push_back({here.low, next.low, next.high});
    triangles.push_back({here.low, next.high, here.high});
    if (i == 0 || i + 1 == hull.size()) continue;
    triangles.push_back({hull[0].low, next.low, here.low});
    triangles.push_back({hull[0].high, here.high, next.high});
  }
}

}  // namespace stiltforge::scaffold
