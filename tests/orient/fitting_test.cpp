#include "orient/fitting.h"

#include <gtest/gtest.h>

#include "slicing/shapes.h"

namespace stiltforge::orient {
namespace {

PrintSettings screenOf(uint32_t width, uint32_t height) {
  PrintSettings print;
  print.pixelSize = 1;
  print.screenWidth = width;
  print.screenHeight = height;
  return print;
}

const slicing::Soup bar = slicing::box({0, 0, 0}, {30, 4, 5});

TEST(Fitting, LeavesWhatFits) {
  EXPECT_EQ(fitOnScreen(bar, {}, screenOf(30, 4)), (Turn{0, 0, 0}));
}

TEST(Fitting, TurnsABarAlongTheScreen) {
  EXPECT_EQ(fitOnScreen(bar, {}, screenOf(10, 40)), (Turn{0, 0, 90}));
  EXPECT_EQ(fitOnScreen(bar, {0, 90, 0}, screenOf(10, 40)), (Turn{0, 90, 0}));
}

TEST(Fitting, TurnsABarIntoTheDiagonal) {
  EXPECT_EQ(fitOnScreen(bar, {}, screenOf(26, 26)), (Turn{0, 0, 45}));
}

TEST(Fitting, FindsNothingForWhatIsTooLarge) {
  EXPECT_EQ(fitOnScreen(bar, {}, screenOf(20, 20)), std::nullopt);
}

}  // namespace
}  // namespace stiltforge::orient
