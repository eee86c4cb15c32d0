#include "scaffold/triangle_distance.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "scaffold/random_triangles.h"

namespace stiltforge::scaffold {
namespace {

using slicing::dot;

constexpr int steps = 24;

// Points all over a triangle.
std::vector<Vector> samplesOf(const Triangle& triangle) {
  std::vector<Vector> samples;
  for (int i = 0; i <= steps; ++i) {
    for (int k = 0; k <= steps - i; ++k) {
      const double u = static_cast<double>(i) / steps;
      const double v = static_cast<double>(k) / steps;
      samples.push_back(cornerOf(triangle, 0) * (1 - u - v) + cornerOf(triangle, 1) * u +
                        cornerOf(triangle, 2) * v);
    }
  }
  return samples;
}

double longestEdge(const Triangle& triangle) {
  double longest = 0;
  for (std::size_t i = 0; i < 3; ++i) {
    const Vector edge = cornerOf(triangle, (i + 1) % 3) - cornerOf(triangle, i);
    longest = std::max(longest, std::sqrt(dot(edge, edge)));
  }
  return longest;
}

Vector randomPoint(std::mt19937& random) {
  const auto number = [&] { return static_cast<double>(random() % 1024) / 1024 * 10; };
  const double x = number();
  const double y = number();
  return {x, y, number()};
}

double distance(const Vector& a, const Vector& b) {
  return std::sqrt(dot(b - a, b - a));
}

TEST(TriangleDistance, IsThatOfTheNearestOfManySamples) {
  std::mt19937 random(1);
  for (const Triangle& triangle : randomTriangles(300, 2)) {
    const Vector a = randomPoint(random);
    const Vector b = random() % 4 == 0 ? a : randomPoint(random);
    double sampled = std::numeric_limits<double>::infinity();
    for (const Vector& sample : samplesOf(triangle)) {
      for (int i = 0; i <= steps; ++i) {
        const Vector point = a + (b - a) * (static_cast<double>(i) / steps);
        sampled = std::min(sampled, distance(point, sample));
      }
    }
    const double exact = std::sqrt(squaredDistance(a, b, triangle));
    const double coarse = (longestEdge(triangle) + distance(a, b)) / steps;
    EXPECT_LE(exact, sampled + 1e-9);
    EXPECT_GE(exact, sampled - coarse);
    EXPECT_NEAR(distance(a, nearestPoint(a, triangle)), std::sqrt(squaredDistance(a, a, triangle)),
                1e-9);
  }
}

TEST(TriangleDistance, IsNothingWhereTheLineGoesThrough) {
  const Triangle triangle{{{0, 0, 1}, {4, 0, 1}, {0, 4, 1}}};
  EXPECT_EQ(squaredDistance({1, 1, 0}, {1, 1, 2}, triangle), 0);
  EXPECT_EQ(squaredDistance({1, 1, 3}, {1, 1, 2}, triangle), 1);
  EXPECT_EQ(squaredDistance({-3, 0, 0}, {-3, 0, 2}, triangle), 9);
}

TEST(Column, IsReachedWhereASampleOfTheTriangleLiesInside) {
  std::mt19937 random(3);
  int reached = 0;
  for (const Triangle& triangle : randomTriangles(2000, 4)) {
    const Vector foot = randomPoint(random);
    const double height = static_cast<double>(random() % 50) / 10;
    const Column column{foot.x, foot.y, foot.z, foot.z + height, 0.75};
    const auto sampled = [&](double radius, double slack) {
      for (const Vector& p : samplesOf(triangle)) {
        if (std::hypot(p.x - column.x, p.y - column.y) < radius && p.z >= column.bottom - slack &&
            p.z <= column.top + slack) {
          return true;
        }
      }
      return false;
    };
    const double coarse = longestEdge(triangle) / steps;
    if (sampled(column.radius, 0)) {
      EXPECT_TRUE(reachesInto(triangle, column));
    }
    if (reachesInto(triangle, column)) {
      ++reached;
      EXPECT_TRUE(sampled(column.radius + coarse, coarse));
    }
  }
  EXPECT_GT(reached, 30);
}

TEST(HeightAt, IsThatOfTheTrianglesPlane) {
  const Triangle slanted{{{0, 0, 0}, {4, 0, 4}, {0, 4, 0}}};
  EXPECT_EQ(heightAt(slanted, 1, 1), 1.0);
  EXPECT_EQ(heightAt(slanted, 3, 3), std::nullopt);
  const Triangle upright{{{0, 0, 0}, {4, 0, 0}, {0, 0, 4}}};
  EXPECT_EQ(heightAt(upright, 1, 0), std::nullopt);
}

}  // namespace
}  // namespace stiltforge::scaffold
