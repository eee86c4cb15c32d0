#include "hold/pruning.h"

#include <gtest/gtest.h>

#include "finishing.h"

namespace stiltforge::hold {
namespace {

TEST(Pruning, DropsAPointThatOthersHaveMadeNeedless) {
  // The middle gains most and comes first; then the ends need points that hold its part, too.
  EXPECT_EQ(analysedOf(finishedOf(plank(22, {12, 7, 17}))), (Numbers{1, 2}));
}

TEST(Pruning, DropsAnAddedPointWhereThoseKeptForTheirStrengthHoldAll) {
  // The middle of the plank gains most, but both points of the analysis stay.
  FinishSettings settings = unitFinish();
  settings.ownReach = 2;
  settings.leastOwnArea = 3;
  EXPECT_EQ(analysedOf(finishedOf(plank(14, {2, 13}), settings)), (Numbers{0, 1}));
}

}  // namespace
}  // namespace stiltforge::hold
