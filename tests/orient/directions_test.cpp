#include "orient/directions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "slicing/shapes.h"

namespace stiltforge::orient {
namespace {

double nearestOther(const std::vector<Vector>& directions, std::size_t i) {
  double nearest = 180;
  for (std::size_t j = 0; j < directions.size(); ++j) {
    if (j != i) nearest = std::min(nearest, angleBetween(directions[i], directions[j]));
  }
  return nearest;
}

TEST(Directions, SpreadEvenlyOverTheSphere) {
  const std::vector<Vector> lattice = sphereLattice(200);
  ASSERT_EQ(lattice.size(), 200u);
  for (std::size_t i = 0; i < lattice.size(); ++i) {
    EXPECT_NEAR(dot(lattice[i], lattice[i]), 1, 1e-12);
    EXPECT_GT(nearestOther(lattice, i), 9);
    EXPECT_LT(nearestOther(lattice, i), 17);
  }
}

TEST(Directions, LieOnARingAroundOne) {
  for (const Vector& centre : {Vector{0, 0, 1}, Vector{0.6, 0, -0.8}}) {
    for (const Vector& v : ringAround(centre, 5, 6)) EXPECT_NEAR(angleBetween(centre, v), 5, 1e-9);
  }
}

TEST(FlatSides, OfABoxAreItsFacesByArea) {
  const std::vector<Vector> sides = flatSides(slicing::box({0, 0, 0}, {10, 20, 40}), 10);
  ASSERT_EQ(sides.size(), 6u);
  for (const std::size_t i : {0u, 1u}) EXPECT_NEAR(std::abs(sides[i].x), 1, 1e-12);
  for (const std::size_t i : {2u, 3u}) EXPECT_NEAR(std::abs(sides[i].y), 1, 1e-12);
  for (const std::size_t i : {4u, 5u}) EXPECT_NEAR(std::abs(sides[i].z), 1, 1e-12);
  EXPECT_EQ(flatSides(slicing::box({0, 0, 0}, {10, 20, 40}), 3).size(), 3u);
}

TEST(FlatSides, AreThoseThatAPartCanStandOn) {
  // Of a slab on a post only the post's foot lies on the plate, not the slab's underside.
  const slicing::Soup table = slicing::joined(
      {slicing::box({4, 4, 0}, {6, 6, 10}), slicing::box({0, 0, 10}, {10, 10, 12})});
  const std::vector<Vector> sides = flatSides(table, 10);
  EXPECT_EQ(std::count_if(sides.begin(), sides.end(), [](const Vector& v) { return v.z < -0.99; }),
            1);
  EXPECT_NEAR(sides[0].z, 1, 1e-12) << "the top is the largest";
  EXPECT_NEAR(sides.back().z, -1, 1e-12) << "the foot is the smallest";
}

TEST(FlatSides, OfWhatHasNoneAreNone) {
  EXPECT_TRUE(flatSides({}, 10).empty());
  EXPECT_TRUE(flatSides(std::vector<float>(9, 1.0F), 10).empty());
}

}  // namespace
}  // namespace stiltforge::orient
