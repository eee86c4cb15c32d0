#include "hold/finisher.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

#include "part.h"

namespace stiltforge::hold {
namespace {

// Counted in pixels and layers: a point reaches 6 of them.
FinishSettings unitFinish() {
  FinishSettings settings;
  settings.spacing = 3;
  settings.ownReach = 5;
  settings.leastOwnArea = 20;
  settings.reach = 6;
  settings.farReach = 10;
  settings.leastGap = 1;
  settings.islandHeight = 2;
  return settings;
}

SurveySettings finishedSurvey() {
  SurveySettings settings = unitSettings();
  settings.steepness = 0.25;  // over steps of four layers: one pixel carries itself
  settings.sampleSize = 1;
  return settings;
}

Finished finishedOf(const Part& part, const FinishSettings& settings = unitFinish()) {
  return finish(part.survey(finishedSurvey()), settings);
}

// A plank beside a pillar, some layers above the plate.
Part plank(std::size_t width) {
  Part part;
  part.addLayers(4, {"+" + std::string(width, '.')});
  part.addLayers(3, {"+" + std::string(width, '#')});
  return part;
}

TEST(Finisher, KeepsAPointThatHoldsSomething) {
  Part part = plank(8);
  part.addPoint(4, 5, 0);
  const Finished finished = finishedOf(part);
  ASSERT_EQ(finished.points.size(), 1u);
  EXPECT_EQ(finished.points[0].reason, Reason::analysed);
  EXPECT_EQ(finished.points[0].analysed, 0u);
  EXPECT_TRUE(finished.dropped.empty());
}

TEST(Finisher, MergesPointsThatStandInEachOthersWay) {
  Part part = plank(8);
  part.addPoint(4, 4, 0);
  part.addPoint(4, 5, 0);
  part.addPoint(4, 6, 0);
  const Finished finished = finishedOf(part);
  ASSERT_EQ(finished.points.size(), 1u);
  EXPECT_EQ(finished.points[0].reason, Reason::merged);
  EXPECT_EQ(finished.points[0].mergedIn.size(), 2u);
  ASSERT_EQ(finished.dropped.size(), 2u);
  for (const DroppedPoint& dropped : finished.dropped) {
    EXPECT_EQ(dropped.reason, DropReason::merged);
    EXPECT_EQ(dropped.into, 0u);
  }
}

TEST(Finisher, LeavesOnePointToSpecksThatGrowTogether) {
  Part part;
  part.addLayers(3, {"......."});
  part.addLayer({"#.#.#.#"});
  part.addLayer({"#######"});
  for (const int x : {0, 2, 4, 6}) part.addPoint(3, x, 0);
  const Finished finished = finishedOf(part);
  ASSERT_EQ(finished.points.size(), 1u);
  EXPECT_EQ(finished.points[0].reason, Reason::merged);
}

TEST(Finisher, GivesAnIslandThatNothingHoldsAPoint) {
  Part part;
  part.addLayers(3, {"+.....", "......"});
  part.addLayers(4, {"+.....", "...##."});
  const Finished finished = finishedOf(part);
  ASSERT_EQ(finished.points.size(), 1u);
  EXPECT_EQ(finished.points[0].reason, Reason::addedForIsland);
  EXPECT_EQ(finished.points[0].analysed, FinishedPoint::none);
  EXPECT_EQ(finished.points[0].site.place.layer, 3u);
  EXPECT_TRUE(finished.points[0].site.isIsland);
}

TEST(Finisher, AddsPointsWhereTheAnalysisLeavesAGap) {
  Part part = plank(30);
  part.addPoint(4, 4, 0);
  const Finished finished = finishedOf(part);
  ASSERT_GT(finished.points.size(), 1u);
  EXPECT_EQ(finished.points[0].reason, Reason::analysed);
  EXPECT_EQ(finished.points[1].reason, Reason::addedForOverhang);
}

TEST(Finisher, DropsPointsWithoutRoom) {
  Part part;
  part.addLayer({"+...."});
  part.addLayers(3, {"+####"});
  part.addPoint(1, 3, 0);
  const Finished finished = finishedOf(part);
  EXPECT_TRUE(finished.points.empty());
  ASSERT_EQ(finished.dropped.size(), 1u);
  EXPECT_EQ(finished.dropped[0].reason, DropReason::noRoom);
}

TEST(Finisher, DropsPointsInSealedVoids) {
  Part part;
  part.addLayer({"+++++", "+++++", "+++++"});
  part.addLayers(3, {"+++++", "+...+", "+++++"});
  part.addLayers(2, {"+++++", "+###+", "+++++"});
  part.addPoint(4, 2, 1);
  const Finished finished = finishedOf(part);
  EXPECT_TRUE(finished.points.empty());
  ASSERT_EQ(finished.dropped.size(), 1u);
  EXPECT_EQ(finished.dropped[0].reason, DropReason::sealedVoid);
}

TEST(Finisher, DropsPointsThatHoldNothing) {
  Part part = plank(8);
  part.addPoint(1, 0, 0);
  part.addPoint(4, 5, 0);
  const Finished finished = finishedOf(part);
  ASSERT_EQ(finished.dropped.size(), 1u);
  EXPECT_EQ(finished.dropped[0].analysed, 0u);
  EXPECT_EQ(finished.dropped[0].reason, DropReason::holdsNothing);
}

TEST(Finisher, RefusesSettingsThatMakeNoSense) {
  const Part part = plank(8);
  for (double FinishSettings::*setting : {&FinishSettings::spacing, &FinishSettings::reach,
                                          &FinishSettings::islandHeight, &FinishSettings::share}) {
    for (const double value : {-1.0, std::nan(""), std::numeric_limits<double>::infinity()}) {
      FinishSettings settings = unitFinish();
      settings.*setting = value;
      EXPECT_THROW(finishedOf(part, settings), std::invalid_argument);
    }
  }
}

TEST(Finisher, FindsNothingToDoInAPartOfNoLayers) {
  EXPECT_TRUE(finishedOf(Part()).points.empty());
}

}  // namespace
}  // namespace stiltforge::hold
