#include "scaffold/open_columns.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>

#include "runtime/worker_pool.h"

namespace stiltforge::scaffold {

namespace {

constexpr double finest = 0.25;  // mm
// Squares along a side of the map, and squares that are looked at for all triangles: a mesh of
// large triangles without end must not take for ever.
constexpr double mostAlong = 2048;
constexpr double mostLooks = 1 << 26;

constexpr float infinity = std::numeric_limits<float>::infinity();

// Twice the area of (a, b, p), seen from above.
double side(const Vector& a, const Vector& b, double x, double y) {
  return (b.x - a.x) * (y - a.y) - (b.y - a.y) * (x - a.x);
}

}  // namespace

OpenColumns::OpenColumns(std::span<const Triangle> part, const slicing::Bounds& bounds)
    : left_(bounds.min.x), front_(bounds.min.y) {
  const double width = static_cast<double>(bounds.max.x) - bounds.min.x;
  const double depth = static_cast<double>(bounds.max.y) - bounds.min.y;
  side_ = std::max({finest, width / mostAlong, depth / mostAlong});
  for (;; side_ *= 2) {
    across_ = static_cast<std::ptrdiff_t>(width / side_) + 1;
    deep_ = static_cast<std::ptrdiff_t>(depth / side_) + 1;
    double looks = 0;
    for (const Triangle& triangle : part) {
      const Squares at = squaresOf(triangle);
      looks += static_cast<double>(at.lastX - at.firstX + 1) *
               static_cast<double>(at.lastY - at.firstY + 1);
    }
    if (looks <= mostLooks || (across_ == 1 && deep_ == 1)) break;
  }
  lowest_.assign(static_cast<std::size_t>(across_ * deep_), infinity);
  for (const Triangle& triangle : part) lower(triangle);
}

OpenColumns::Squares OpenColumns::squaresOf(const Triangle& triangle) const {
  const auto [lowX, highX] = std::minmax({triangle[0].x, triangle[1].x, triangle[2].x});
  const auto [lowY, highY] = std::minmax({triangle[0].y, triangle[1].y, triangle[2].y});
  const auto at = [this](double value, double from, std::ptrdiff_t count) {
    const double square = std::floor((value - from) / side_);
    return std::clamp<std::ptrdiff_t>(static_cast<std::ptrdiff_t>(square), 0, count - 1);
  };
  return {at(lowX, left_, across_), at(highX, left_, across_), at(lowY, front_, deep_),
          at(highY, front_, deep_)};
}

void OpenColumns::lower(const Triangle& triangle) {
  const std::array<Vector, 3> corners{cornerOf(triangle, 0), cornerOf(triangle, 1),
                                      cornerOf(triangle, 2)};
  const double least = std::min({corners[0].z, corners[1].z, corners[2].z});
  const double area = side(corners[0], corners[1], corners[2].x, corners[2].y);
  const double turn = area < 0 ? -1 : 1;
  const Squares at = squaresOf(triangle);
  for (std::ptrdiff_t y = at.firstY; y <= at.lastY; ++y) {
    for (std::ptrdiff_t x = at.firstX; x <= at.lastX; ++x) {
      // Of the square: the corner that is furthest inside each edge, and the lowest over it.
      bool isBeside = false;
      double lowestHere = 0;
      for (std::size_t i = 0; i < 3; ++i) {
        const Vector& a = corners.at(i);
        const Vector& b = corners.at((i + 1) % 3);
        const double here = turn * side(a, b, left_ + static_cast<double>(x) * side_,
                                        front_ + static_cast<double>(y) * side_);
        const double alongX = -turn * (b.y - a.y) * side_;
        const double alongY = turn * (b.x - a.x) * side_;
        const double most = here + std::max(alongX, 0.0) + std::max(alongY, 0.0);
        isBeside = isBeside || most < 0;
        // The share of the corner across from this edge, where it is least for its height.
        const double height = corners.at((i + 2) % 3).z - least;
        lowestHere += height * std::max(0.0, here + std::min(alongX, 0.0) + std::min(alongY, 0.0));
      }
      if (isBeside) continue;
      const double z = area == 0 ? least : least + lowestHere / std::abs(area);
      float& lowest = lowest_[static_cast<std::size_t>(y * across_ + x)];
      // Rounded down, so that it never promises too much.
      lowest = std::min(lowest, std::nextafter(static_cast<float>(z), -infinity));
    }
  }
}

OpenColumns::ForRadius::ForRadius(const OpenColumns& columns, double radius)
    : side_(columns.side_) {
  // A place is anywhere in its square, and so is the part in another.
  const auto reach = static_cast<std::ptrdiff_t>(std::ceil(radius / side_));
  across_ = columns.across_ + 2 * reach;
  deep_ = columns.deep_ + 2 * reach;
  left_ = columns.left_ - static_cast<double>(reach) * side_;
  front_ = columns.front_ - static_cast<double>(reach) * side_;
  std::vector<std::ptrdiff_t> half;  // by the rows between
  for (std::ptrdiff_t dy = 0; dy <= reach; ++dy) {
    const double y = static_cast<double>(std::max<std::ptrdiff_t>(dy - 1, 0)) * side_;
    std::ptrdiff_t dx = 0;
    while (dx < reach) {
      const double x = static_cast<double>(dx) * side_;
      if (x * x + y * y >= radius * radius) break;
      ++dx;
    }
    half.push_back(dx);
  }
  lowest_.assign(static_cast<std::size_t>(across_ * deep_), infinity);
  workers::parallelFor(static_cast<std::size_t>(deep_), [&](std::size_t row) {
    const std::ptrdiff_t y = static_cast<std::ptrdiff_t>(row) - reach;
    float* const target = lowest_.data() + row * static_cast<std::size_t>(across_);
    for (std::ptrdiff_t dy = -reach; dy <= reach; ++dy) {
      if (y + dy < 0 || y + dy >= columns.deep_) continue;
      const float* const source =
          columns.lowest_.data() + static_cast<std::size_t>((y + dy) * columns.across_);
      const std::ptrdiff_t wide = half[static_cast<std::size_t>(std::abs(dy))];
      for (std::ptrdiff_t x = 0; x < columns.across_; ++x) {
        if (source[x] == infinity) continue;
        float* const first = target + (x + reach - wide);
        for (std::ptrdiff_t i = 0; i <= 2 * wide; ++i) first[i] = std::min(first[i], source[x]);
      }
    }
  });
}

double OpenColumns::ForRadius::topAt(double x, double y) const {
  const double column = std::floor((x - left_) / side_);
  const double row = std::floor((y - front_) / side_);
  if (!(column >= 0 && column < static_cast<double>(across_) && row >= 0 &&
        row < static_cast<double>(deep_))) {
    return infinity;
  }
  return lowest_[static_cast<std::size_t>(row) * static_cast<std::size_t>(across_) +
                 static_cast<std::size_t>(column)];
}

}  // namespace stiltforge::scaffold
