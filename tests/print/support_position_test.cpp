#include "print/support_position.h"

#include <gtest/gtest.h>

#include <cmath>

namespace stiltforge {
namespace {

// A screen of 100 x 80 pixels of 0.1 mm around a part from -1 to 1 mm.
slicing::ScreenPlacement placement() {
  slicing::ScreenSettings screen;
  screen.pixelSize = 0.1;
  screen.width = 100;
  screen.height = 80;
  return {slicing::Bounds{{-1, -1, 0}, {1, 1, 2}}, screen};
}

TEST(SupportPosition, IsTheMiddleOfThePixelAndTheLowerFaceOfTheLayer) {
  const SupportPosition position = positionOf(0, 0, 3, placement(), 0.25, 0.05);
  EXPECT_EQ(position.column, 40u);
  EXPECT_EQ(position.row, 30u);
  EXPECT_EQ(position.x, -0.95);
  EXPECT_EQ(position.y, 0.95);
  EXPECT_EQ(position.z, 0.4);
}

TEST(SupportPosition, HasNoNegativeZero) {
  const SupportPosition position = positionOf(0, 0, 1, placement(), -0.0501, 0.05);
  EXPECT_EQ(position.z, 0);
  EXPECT_FALSE(std::signbit(position.z));
}

}  // namespace
}  // namespace stiltforge
