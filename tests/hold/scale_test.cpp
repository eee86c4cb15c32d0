#include "hold/scale.h"

#include <gtest/gtest.h>

#include <cmath>

namespace stiltforge::hold {
namespace {

Place placeAt(uint32_t layer, uint16_t x, uint16_t y) {
  Place place;
  place.layer = layer;
  place.x = x;
  place.y = y;
  return place;
}

TEST(Scale, MeasuresBetweenTheCentresOfPixels) {
  const Scale scale{2, 3};
  EXPECT_DOUBLE_EQ(scale.squaredDistance(placeAt(5, 1, 7), placeAt(4, 4, 3)), 4 * 25 + 9);
}

TEST(Scale, CountsTheWholeLayersOfAHeight) {
  const Scale scale{0.05, 0.05};
  EXPECT_EQ(scale.layersWithin(0), 0u);
  EXPECT_EQ(scale.layersWithin(0.12), 2u);
  EXPECT_EQ(scale.layersWithin(0.15), 3u) << "whatever the rounding of the quotient";
  EXPECT_EQ(scale.layersWithin(1e300), 65535u);
}

TEST(Scale, CountsThePixelsThatCoverAnArea) {
  const Scale scale{0.5, 1};
  EXPECT_EQ(scale.pixelsFor(0), 0u);
  EXPECT_EQ(scale.pixelsFor(1), 4u);
  EXPECT_EQ(scale.pixelsFor(1.01), 5u);
  EXPECT_EQ(scale.pixelsFor(1e300), uint64_t{1'000'000'000'000'000'000});
  EXPECT_EQ(scale.pixelsFor(std::nan("")), 0u);
}

}  // namespace
}  // namespace stiltforge::hold
