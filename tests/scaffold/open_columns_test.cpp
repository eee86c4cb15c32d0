#include "scaffold/open_columns.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <vector>

#include "scaffold/random_triangles.h"

namespace stiltforge::scaffold {
namespace {

TEST(OpenColumns, NeverPromiseTooMuchAndRarelyTooLittle) {
  constexpr double radius = 0.8;
  std::mt19937 random(7);
  const auto number = [&] { return static_cast<double>(random() % 1400) / 100 - 2; };
  for (uint32_t seed = 0; seed < 20; ++seed) {
    const std::vector<Triangle> part = randomTriangles(12, seed);
    slicing::Bounds bounds{part[0][0], part[0][0]};
    for (const Triangle& triangle : part) bounds.extend(triangle);
    const OpenColumns columns(part, bounds);
    const OpenColumns::ForRadius open(columns, radius);
    for (int i = 0; i < 500; ++i) {
      const double x = number();
      const double y = number();
      const double top = open.topAt(x, y);
      const auto isBlocked = [&](double wide, double height) {
        for (const Triangle& triangle : part) {
          if (reachesInto(triangle, {x, y, -1, height, wide})) return true;
        }
        return false;
      };
      if (top == std::numeric_limits<double>::infinity()) {
        EXPECT_FALSE(isBlocked(radius, 100));
      } else {
        EXPECT_FALSE(isBlocked(radius, top));
        // Two squares further there is something.
        EXPECT_TRUE(isBlocked(radius + 0.75, 11));
      }
    }
  }
}

TEST(OpenColumns, AreAsHighAsWhatHangsOverThem) {
  const std::vector<Triangle> shelf{{{{0, 0, 5}, {0, 20, 5}, {20, 0, 5}}}};
  const OpenColumns columns(shelf, {{0, 0, 5}, {20, 20, 5}});
  const OpenColumns::ForRadius open(columns, 0.5);
  EXPECT_NEAR(open.topAt(5, 5), 5, 1e-5);
  EXPECT_LE(open.topAt(5, 5), 5);
  EXPECT_NEAR(open.topAt(-0.4, 5), 5, 1e-5);
  EXPECT_EQ(open.topAt(19, 19), std::numeric_limits<double>::infinity());
  EXPECT_EQ(open.topAt(-2, 5), std::numeric_limits<double>::infinity());
}

}  // namespace
}  // namespace stiltforge::scaffold
