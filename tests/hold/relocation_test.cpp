#include "hold/relocation.h"

#include <gtest/gtest.h>

#include "finishing.h"
#include "keeping.h"

namespace stiltforge::hold {
namespace {

TEST(Relocation, MovesAPointToWhereItHoldsMoreBesideTheOthers) {
  // The end is too far from what holds half of it, so it gets a point, first where it is nearest.
  FinishSettings settings = unitFinish();
  settings.share = 0.5;
  const Columns columns = columnsOf(finishedOf(plank(40), settings));
  ASSERT_EQ(columns.size(), 3u);
  EXPECT_GT(columns[2] - columns[1], 2 * settings.reach);
  EXPECT_LE(columns[2] + settings.reach, 40) << "within the plank";
}

TEST(Relocation, MovesAPointByLessThanTheSpacing) {
  FinishSettings settings = unitFinish();
  settings.spacing = 100;
  Keeping keeping(plank(20), settings);
  keeping.keepAt(16);
  keeping.held.trackGains(keeping.candidates, nullptr);
  EXPECT_TRUE(moveToBetterPlaces(keeping.candidates, keeping.held, keeping.kept, nullptr));
  EXPECT_LE(keeping.kept.placeOf(0).x + settings.reach, 20);
}

TEST(Relocation, MovesNoPointToOneOfTheAnalysisThatHoldsLess) {
  // Near the end a point holds 11 pixels, and 13 in the middle, though those of the analysis are
  // worth a quarter more.
  FinishSettings settings = unitFinish();
  settings.farReach = 100;
  Keeping keeping(plank(20, {16}), settings);
  keeping.keepAt(10);
  keeping.held.trackGains(keeping.candidates, nullptr);
  EXPECT_FALSE(moveToBetterPlaces(keeping.candidates, keeping.held, keeping.kept, nullptr));
  EXPECT_EQ(keeping.kept.placeOf(0).x, 10);
}

TEST(Relocation, LeavesPinnedPointsWhereTheyAre) {
  Keeping keeping(plank(20));
  keeping.keepAt(16);
  keeping.kept.pin();
  keeping.held.trackGains(keeping.candidates, nullptr);
  EXPECT_FALSE(moveToBetterPlaces(keeping.candidates, keeping.held, keeping.kept, nullptr));
  EXPECT_EQ(keeping.kept.placeOf(0).x, 16);
}

}  // namespace
}  // namespace stiltforge::hold
