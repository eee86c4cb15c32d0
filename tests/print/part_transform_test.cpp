#include "print/part_transform.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace stiltforge {
namespace {

const std::vector<float> triangle{0, 0, 1, 3, -1, 1, 0, 2, 5};

TEST(PartTransform, FindsTheBox) {
  const slicing::Bounds bounds = boundsOf(triangle);
  EXPECT_EQ(bounds.min, (slicing::Vertex{0, -1, 1}));
  EXPECT_EQ(bounds.max, (slicing::Vertex{3, 2, 5}));
}

TEST(PartTransform, TurnsYUp) {
  std::vector<float> part = triangle;
  turnYUp(part);
  EXPECT_EQ(part, (std::vector<float>{0, -1, 0, 3, -1, -1, 0, -5, 2}));
}

TEST(PartTransform, RoundsEachProductOnce) {
  std::vector<float> part = triangle;
  ASSERT_TRUE(scale(part, 0.1));
  EXPECT_EQ(part[3], static_cast<float>(3 * 0.1));
  EXPECT_EQ(factorForHeight(triangle, 10), 2.5);
}

TEST(PartTransform, ScalesToNothingThatCannotBeSliced) {
  std::vector<float> part = triangle;
  for (const double factor : {0.0, 1e-60, 1e60, std::numeric_limits<double>::infinity(),
                              std::numeric_limits<double>::quiet_NaN()}) {
    EXPECT_FALSE(scale(part, factor)) << factor;
    EXPECT_EQ(part, triangle);
  }
}

}  // namespace
}  // namespace stiltforge
