#include "orient/known_directions.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace stiltforge::orient {
namespace {

TEST(KnownDirections, AreNearAsALookAtAllOfThemSays) {
  const std::vector<Vector> all = sphereLattice(3000);
  KnownDirections known;
  for (std::size_t i = 0; i < all.size(); i += 3) known.add(all[i]);
  for (const double degrees : {0.01, 0.5, 1.0}) {
    std::size_t near = 0;
    for (const Vector& centre : all) {
      for (const Vector& asked : ringAround(centre, 0.7 * degrees, 3)) {
        bool expected = false;
        for (std::size_t i = 0; i < all.size() && !expected; i += 3) {
          expected = angleBetween(all[i], asked) < degrees;
        }
        EXPECT_EQ(known.hasNear(asked, degrees), expected);
        near += expected ? 1 : 0;
      }
    }
    EXPECT_EQ(near, all.size()) << "three around each of the known, a third of them";
  }
}

TEST(KnownDirections, AreNoneAtFirst) {
  EXPECT_FALSE(KnownDirections().hasNear({0, 0, 1}, KnownDirections::mostApart));
}

}  // namespace
}  // namespace stiltforge::orient
