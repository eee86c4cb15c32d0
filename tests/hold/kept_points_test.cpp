#include "hold/kept_points.h"

#include <gtest/gtest.h>

#include "keeping.h"

namespace stiltforge::hold {
namespace {

TEST(KeptPoints, KeepTheirSpacing) {
  Keeping keeping(plank(20));
  keeping.keepAt(10);
  EXPECT_FALSE(keeping.kept.isSpaced(keeping.placeAt(12)));
  EXPECT_TRUE(keeping.kept.isSpaced(keeping.placeAt(13)));
}

TEST(KeptPoints, StandInNoWayOfTheirOwn) {
  Keeping keeping(plank(20));
  keeping.keepAt(10);
  EXPECT_TRUE(keeping.kept.isSpaced(keeping.placeAt(11), 0));
}

TEST(KeptPoints, TellTheFirstOfThoseThatAreEquallyNear) {
  Keeping keeping(plank(20));
  for (const int column : {18, 12, 8}) keeping.keepAt(column);
  EXPECT_EQ(keeping.kept.nearestTo(keeping.placeAt(10)), 1u);
  EXPECT_EQ(keeping.kept.nearestTo(keeping.placeAt(9)), 2u);
  EXPECT_EQ(keeping.kept.nearestTo(keeping.placeAt(15)), 0u);
}

TEST(KeptPoints, TellNoneBeyondTheirReach) {
  Keeping keeping(plank(20));
  keeping.keepAt(4);
  EXPECT_TRUE(keeping.kept.nearestTo(keeping.placeAt(10)));
  EXPECT_FALSE(keeping.kept.nearestTo(keeping.placeAt(11)));
}

TEST(KeptPoints, HoldNothingOnceTheyAreReleased) {
  Keeping keeping(plank(20));
  keeping.keepAt(5);
  const uint64_t alone = keeping.held.near().reachedPixels();
  keeping.keepAt(15);
  EXPECT_GT(keeping.held.near().reachedPixels(), alone);
  keeping.kept.release(1);
  EXPECT_EQ(keeping.held.near().reachedPixels(), alone);
  EXPECT_EQ(keeping.kept.points().size(), 2u);
  keeping.kept.removeReleased();
  EXPECT_EQ(keeping.kept.points().size(), 1u);
  EXPECT_TRUE(keeping.kept.isSpaced(keeping.placeAt(15)));
}

TEST(KeptPoints, KnowThePointsOfTheAnalysisAmongThem) {
  Keeping keeping(plank(20, {5, 15}));
  keeping.kept.keep(keeping.candidates.pointOf(1));
  EXPECT_FALSE(keeping.kept.has(0));
  EXPECT_TRUE(keeping.kept.has(1));
  keeping.kept.replace(0, keeping.candidates.pointOf(0));
  EXPECT_TRUE(keeping.kept.has(0));
  EXPECT_FALSE(keeping.kept.has(1));
}

}  // namespace
}  // namespace stiltforge::hold
