#include "hold/held_overhang.h"

#include <gtest/gtest.h>

#include "keeping.h"

namespace stiltforge::hold {
namespace {

TEST(HeldOverhang, IsEnoughWithAShareOfTheSteepOverhang) {
  FinishSettings settings = unitFinish();
  settings.share = 0.5;
  Keeping keeping(plank(30), settings);
  keeping.keepAt(8);
  EXPECT_FALSE(keeping.held.isEnoughNear());
  keeping.keepAt(22);
  EXPECT_TRUE(keeping.held.isEnoughNear());
  EXPECT_FALSE(keeping.held.isEnoughNear(keeping.held.near().reachedPixels()));
}

TEST(HeldOverhang, NeedsNoMoreThanThereIsWhateverTheMargin) {
  FinishSettings settings = unitFinish();
  settings.margin = 1000;
  Keeping keeping(plank(10), settings);
  keeping.keepAt(6);
  EXPECT_TRUE(keeping.held.isEnoughNear());
}

TEST(HeldOverhang, HoldsAsMuchFarAwayWhenAPointMovesALittle) {
  Keeping keeping(plank(40));
  for (const int column : {5, 22, 36}) keeping.keepAt(column);
  EXPECT_TRUE(keeping.held.holdsAsMuchFarAway(keeping.placeAt(5), keeping.placeAt(6)));
  EXPECT_FALSE(keeping.held.holdsAsMuchFarAway(keeping.placeAt(5), keeping.placeAt(20)))
      << "the end is too far from there";
}

TEST(HeldOverhang, IsAsBeforeOnceAMoveWasThoughtThrough) {
  Keeping keeping(plank(40));
  keeping.keepAt(5);
  const uint64_t reached = keeping.held.far().reachedPixels();
  keeping.held.holdsAsMuchFarAway(keeping.placeAt(5), keeping.placeAt(20));
  EXPECT_EQ(keeping.held.far().reachedPixels(), reached);
}

}  // namespace
}  // namespace stiltforge::hold
