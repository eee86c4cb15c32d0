#include "slicing/screen_placement.h"

#include <gtest/gtest.h>

#include "slicing/slicing_error.h"

namespace stiltforge::slicing {
namespace {

constexpr Bounds model{{10, 10, 0}, {14, 12, 5}};  // 4 x 2 mm around (12, 11)

ScreenSettings screenOf(uint32_t width, uint32_t height) {
  ScreenSettings settings;
  settings.pixelSize = 0.5;
  settings.width = width;
  settings.height = height;
  return settings;
}

TEST(ScreenPlacement, PutsTheModelInTheMiddleOfTheScreen) {
  const ScreenPlacement placement(model, screenOf(100, 60));
  EXPECT_EQ(placement.cropX, 46);
  EXPECT_EQ(placement.cropY, 28);
  EXPECT_EQ(placement.width, 8);
  EXPECT_EQ(placement.height, 4);
}

TEST(ScreenPlacement, MovesColumnsWithXAndRowsAgainstY) {
  ScreenSettings settings = screenOf(100, 60);
  settings.offsetX = 5;
  settings.offsetY = 5;
  const ScreenPlacement placement(model, settings);
  EXPECT_EQ(placement.cropX, 56);
  EXPECT_EQ(placement.cropY, 18);
}

TEST(ScreenPlacement, TellsWhereAPixelLiesInTheModel) {
  const ScreenPlacement placement(model, screenOf(100, 60));
  const double x = placement.originX + (placement.cropX + 0.5) * placement.pixelSize;
  const double y = placement.originY - (placement.cropY + 0.5) * placement.pixelSize;
  EXPECT_EQ(x, 10.25);
  EXPECT_EQ(y, 11.75);
  EXPECT_EQ(placement.toCrop({x, y}), (Point{0.5, 0.5}));
}

TEST(ScreenPlacement, CutsTheMarginAtTheScreensBorder) {
  ScreenSettings settings = screenOf(100, 6);
  settings.margin = 3;
  const ScreenPlacement placement(model, settings);
  EXPECT_EQ(placement.width, 14);
  EXPECT_EQ(placement.cropY, 0);
  EXPECT_EQ(placement.height, 6);
}

TEST(ScreenPlacement, RoundsTheBoxOutwards) {
  ScreenSettings settings = screenOf(100, 60);
  settings.offsetX = 0.1;
  const ScreenPlacement placement(model, settings);
  EXPECT_EQ(placement.cropX, 46);
  EXPECT_EQ(placement.width, 9);
}

// 0.3 mm wide: at 0.1 mm a pixel, 3.0000001 in doubles.
constexpr Bounds thin{{0, 0, 0}, {0.3f, 0.3f, 1}};

TEST(ScreenPlacement, ForgivesAThousandthOfAPixelOutsideTheScreen) {
  ScreenSettings settings = screenOf(3, 3);
  settings.pixelSize = 0.1;
  EXPECT_EQ(ScreenPlacement(thin, settings).width, 3);
  settings.offsetX = 0.00009;
  EXPECT_NO_THROW(ScreenPlacement(thin, settings));
  settings.offsetX = 0.00011;
  EXPECT_THROW(ScreenPlacement(thin, settings), SlicingError);
  settings.offsetX = 0;
  settings.offsetY = -0.00009;
  EXPECT_NO_THROW(ScreenPlacement(thin, settings));
  settings.offsetY = -0.00011;
  EXPECT_THROW(ScreenPlacement(thin, settings), SlicingError);
}

TEST(ScreenPlacement, ShowsNoPixelForAThousandthOfOne) {
  ScreenSettings settings = screenOf(9, 9);
  settings.pixelSize = 0.1;
  for (const double offset : {0.0, 0.00009, -0.00009}) {
    settings.offsetX = offset;
    settings.offsetY = offset;
    const ScreenPlacement placement(thin, settings);
    EXPECT_EQ(placement.cropX, 3) << offset;
    EXPECT_EQ(placement.cropY, 3) << offset;
    EXPECT_EQ(placement.width, 3) << offset;
    EXPECT_EQ(placement.height, 3) << offset;
  }
  settings.offsetX = 0.00011;
  settings.offsetY = -0.00011;
  const ScreenPlacement right(thin, settings);
  EXPECT_EQ(right.cropX, 3);
  EXPECT_EQ(right.width, 4);
  EXPECT_EQ(right.cropY, 3);
  EXPECT_EQ(right.height, 4);
  settings.offsetX = -0.00011;
  settings.offsetY = 0.00011;
  const ScreenPlacement left(thin, settings);
  EXPECT_EQ(left.cropX, 2);
  EXPECT_EQ(left.width, 4);
  EXPECT_EQ(left.cropY, 2);
  EXPECT_EQ(left.height, 4);
}

}  // namespace
}  // namespace stiltforge::slicing
