#include "hold/left_alone.h"

#include <gtest/gtest.h>

#include "finishing.h"

namespace stiltforge::hold {
namespace {

TEST(LeftAlone, TellsWhatIsTooCloseToThePlateAndHowFarToLiftThePart) {
  const Part part = partOf({
      {1, {"+......."}},
      {3, {"+#######"}},
  });
  const LeftAlone left = finishedOf(part).leftAlone;
  EXPECT_EQ(left.areaNearPlate, 6);
  EXPECT_EQ(left.lift, 1);
}

TEST(LeftAlone, TellsWhatIsTooCloseToThePart) {
  const Part part = partOf({
      {4, {"++++++++"}},
      {1, {"+......."}},
      {2, {"+#######"}},
  });
  const LeftAlone left = finishedOf(part).leftAlone;
  EXPECT_EQ(left.areaNearPart, 6);
  EXPECT_EQ(left.areaNearPlate, 0);
  EXPECT_EQ(left.lift, 0);
}

TEST(LeftAlone, TellsWhatHangsInSealedVoids) {
  const Part part = partOf({
      {1, {"+++++", "+++++", "+++++"}},
      {4, {"+++++", "+...+", "+++++"}},
      {2, {"+++++", "+###+", "+++++"}},
  });
  SurveySettings surveyed = unitSettings();
  surveyed.steepness = 0;
  EXPECT_EQ(finishedOf(part, unitFinish(), surveyed).leftAlone.sealedArea, 3);
}

TEST(LeftAlone, NeedsNoLiftForASpeckNearThePlate) {
  const Finished finished = finishedOf(partOf({
      {1, {"+....."}},
      {1, {"+...#."}},
      {4, {"+....."}},
  }));
  EXPECT_EQ(finished.islandsLeft, Numbers{0});
  EXPECT_EQ(finished.leftAlone.lift, 0);
  EXPECT_EQ(finished.leftAlone.areaNearPlate, 0);
}

}  // namespace
}  // namespace stiltforge::hold
