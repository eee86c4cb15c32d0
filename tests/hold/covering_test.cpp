#include "hold/covering.h"

#include <gtest/gtest.h>

#include "finishing.h"

namespace stiltforge::hold {
namespace {

TEST(Covering, AddsPointsWhereTheAnalysisLeavesAGap) {
  const Finished finished = finishedOf(plank(30, {8}));
  ASSERT_GT(finished.points.size(), 1u);
  EXPECT_EQ(finished.points[0].reason, Reason::analysed);
  EXPECT_EQ(finished.points[1].reason, Reason::addedForOverhang);
}

TEST(Covering, PrefersAPointOfTheAnalysisToABetterPlaceNextToIt) {
  FinishSettings settings = unitFinish();
  settings.share = 0.9;
  EXPECT_EQ(analysedOf(finishedOf(plank(20, {13}), settings)), (Numbers{FinishedPoint::none, 0}));
}

TEST(Covering, AddsAPlaceThatGainsFarMoreThanAPointOfTheAnalysis) {
  const Finished finished = finishedOf(plank(14, {2}));
  EXPECT_EQ(reasonsOf(finished), Reasons{Reason::addedForOverhang});
  EXPECT_EQ(dropReasonsOf(finished), DropReasons{DropReason::merged});
  EXPECT_EQ(finished.dropped.at(0).into, 0u);
  EXPECT_EQ(finished.points.at(0).mergedIn, Numbers{0});
}

TEST(Covering, HoldsMoreOfASmallPartThanItsShare) {
  FinishSettings settings = unitFinish();
  settings.share = 0.7;
  settings.farReach = 100;
  const std::size_t points = finishedOf(plank(30), settings).points.size();
  settings.margin = 8;
  EXPECT_EQ(finishedOf(plank(30), settings).points.size(), points + 1);
}

// Overhang of which nothing is steep, with two points.
Finished finishedFlatly(const FinishSettings& settings) {
  SurveySettings surveyed = unitSettings();
  surveyed.steepness = 10;
  return finishedOf(plank(20, {6, 15}), settings, surveyed);
}

TEST(Covering, ReachesOverhangThatIsNotSteepToo) {
  EXPECT_EQ(finishedFlatly(unitFinish()).points.size(), 2u);
}

TEST(Covering, ReachesOverhangThatIsNotSteepByTheFarReachToo) {
  FinishSettings settings = unitFinish();
  settings.share = 0.5;
  EXPECT_EQ(finishedFlatly(settings).points.size(), 2u);
  settings.farShare = 0.5;
  EXPECT_EQ(finishedFlatly(settings).points.size(), 1u);
}

// Asks for no share of the overhang.
FinishSettings forGapsOf(double area) {
  FinishSettings settings = unitFinish();
  settings.share = settings.farShare = 0;
  settings.leastGap = area;
  return settings;
}

TEST(Covering, ClosesAGapFarFromAllPointsWhateverItsShareOfTheWhole) {
  EXPECT_EQ(reasonsOf(finishedOf(plank(9), forGapsOf(2))), Reasons{Reason::addedForOverhang});
}

TEST(Covering, LeavesAGapThatIsSmallerThanTheLeast) {
  EXPECT_TRUE(finishedOf(plank(9), forGapsOf(100)).points.empty());
}

TEST(Covering, LetsNoPointHoldTheOverhangOfAnotherBranch) {
  Part part = partOf({
      {5, {"+.........+"}},
      {4, {"+####.####+"}},
  });
  part.addPoint(5, 4, 0);
  const Finished finished = finishedOf(part);
  ASSERT_EQ(finished.points.size(), 2u);
  EXPECT_GT(finished.points[1].site.place.x, 5);
}

TEST(Covering, HoldsWhatHasNoRoomFromBesideIt) {
  const Finished finished = finishedOf(partOf({
      {3, {"+....+++++"}},
      {1, {"+........."}},
      {2, {"+#########"}},
  }));
  ASSERT_EQ(finished.points.size(), 1u);
  EXPECT_TRUE(finished.points[0].site.place.hasRoom);
  EXPECT_EQ(finished.leftAlone.areaNearPart, 0);
}

// Two points below a flat underside of which each could reach all; each must hold so much alone.
Finished finishedUnderside(double leastOwnArea) {
  Part part = partOf({
      {4, Rows(9, "+.........")},
      {1, Rows(9, "+#########")},
  });
  part.addPoint(4, 5, 2);
  part.addPoint(4, 5, 6);
  FinishSettings settings = unitFinish();
  settings.reach = settings.farReach = 20;
  settings.ownReach = 3;
  settings.leastOwnArea = leastOwnArea;
  return finishedOf(part, settings);
}

TEST(Covering, KeepsThePointsThatCarryAFlatUnderside) {
  EXPECT_EQ(finishedUnderside(10).points.size(), 2u);
}

TEST(Covering, KeepsNoPointForItsStrengthThatHoldsLittleAlone) {
  EXPECT_EQ(finishedUnderside(30).points.size(), 1u);
}

}  // namespace
}  // namespace stiltforge::hold
