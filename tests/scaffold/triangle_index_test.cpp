#include "scaffold/triangle_index.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "scaffold/random_triangles.h"

namespace stiltforge::scaffold {
namespace {

using slicing::dot;
using slicing::TriangleMesh;

TriangleMesh meshOf(const std::vector<Triangle>& triangles) {
  TriangleMesh mesh;
  mesh.triangles = triangles;
  mesh.bounds = {triangles[0][0], triangles[0][0]};
  for (const Triangle& triangle : triangles) mesh.bounds.extend(triangle);
  return mesh;
}

class TriangleIndexOf : public testing::TestWithParam<std::size_t> {};

// One triangle, a leaf that is full, and one more than fills a power of two of them.
INSTANTIATE_TEST_SUITE_P(Counts, TriangleIndexOf, testing::Values(1, 4, 33, 700),
                         [](const auto& count) { return "Of" + std::to_string(count.param); });

TEST_P(TriangleIndexOf, FindsWhatALookAtAllTrianglesFinds) {
  std::vector<Triangle> triangles = randomTriangles(GetParam(), 5);
  triangles[0] = {{{1, 1, 1}, {2, 1, 1}, {1, 2, 1}}};
  const TriangleIndex index(meshOf(triangles));
  std::mt19937 random(6);
  const auto number = [&] { return static_cast<double>(random() % 1400) / 100 - 2; };
  TriangleIndex::Obstacle inLinesWay = nullptr;
  TriangleIndex::Obstacle inColumnsWay = nullptr;
  for (int i = 0; i < 500; ++i) {
    const Vector a{number(), number(), number()};
    const Vector b = i % 3 == 0 ? Vector{a.x, a.y, number()} : Vector{number(), number(), number()};
    const double reach = static_cast<double>(random() % 100) / 100;
    const Column column{a.x, a.y, std::min(a.z, b.z), std::max(a.z, b.z), reach};
    bool isFree = true;
    bool isColumnFree = true;
    double nearest = reach;
    double lowest = column.top;
    bool isCrossed = false;
    for (const Triangle& triangle : triangles) {
      if (!hasArea(triangle)) continue;
      isFree = isFree && squaredDistance(a, b, triangle) >= reach * reach;
      isColumnFree = isColumnFree && !reachesInto(triangle, column);
      nearest = std::min(nearest, std::sqrt(squaredDistance(a, a, triangle)));
      const auto z = heightAt(triangle, a.x, a.y);
      if (!z || *z < column.bottom || *z > lowest) continue;
      lowest = *z;
      isCrossed = true;
    }
    EXPECT_EQ(index.isFree(a, b, reach), isFree);
    EXPECT_EQ(index.isFree(column), isColumnFree);
    EXPECT_EQ(index.isFree(a, b, reach, &inLinesWay), isFree) << "whatever was in the way before";
    EXPECT_EQ(index.isFree(column, &inColumnsWay), isColumnFree);
    const auto hit = index.nearest(a, reach);
    EXPECT_NEAR(hit ? std::sqrt(dot(hit->point - a, hit->point - a)) : reach, nearest, 1e-9);
    const auto crossing = index.lowest(a.x, a.y, column.bottom, column.top);
    ASSERT_EQ(crossing.has_value(), isCrossed);
    if (crossing) {
      EXPECT_EQ(crossing->point.z, lowest);
    }
  }
}

TEST(TriangleIndex, FindsTheTrianglesOfALargeMesh) {
  const std::vector<Triangle> triangles = randomTriangles(70000, 8);
  std::atomic<std::size_t> looks{0};
  const TriangleIndex index(meshOf(triangles), [&] { ++looks; });
  EXPECT_GT(looks, 4);
  EXPECT_LE(looks, TriangleIndex::looksAt(triangles.size()));
  for (std::size_t i = 0; i < triangles.size(); i += 100) {
    if (!hasArea(triangles[i])) continue;
    EXPECT_TRUE(index.nearest(cornerOf(triangles[i], 0), 1e-6)) << "triangle " << i;
  }
}

TEST(TriangleIndex, GivesTheMeanOfNormalsOnOneSide) {
  const std::vector<Triangle> roof{{{{0, 0, 0}, {4, 0, 4}, {0, 4, 0}}},
                                   {{{0, 0, 0}, {-4, 0, 4}, {0, 4, 0}}}};
  const TriangleIndex index(meshOf(roof));
  const Vector sum = index.normalsAround({0, 1, 0}, 0.5, {0, 0, -1});
  EXPECT_NEAR(sum.x, 0, 1e-12);
  EXPECT_LT(sum.z, -1);
}

}  // namespace
}  // namespace stiltforge::scaffold
