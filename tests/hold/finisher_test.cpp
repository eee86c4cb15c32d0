#include "hold/finisher.h"

#include <gtest/gtest.h>

#include <atomic>
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
  settings.reach = 6;
  settings.farReach = 10;
  settings.ownReach = 5;
  settings.leastOwnArea = 20;
  settings.leastGap = 1;
  settings.islandHeight = 2;
  return settings;
}

Finished finishedOf(const Part& part, const FinishSettings& settings = unitFinish()) {
  return finish(part.survey(unitSettings()), settings);
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

TEST(Finisher, EndsWhenItIsCancelled) {
  Part part = plank(8);
  part.addPoint(4, 5, 0);
  const Survey survey = part.survey(unitSettings());
  std::atomic<bool> cancelled = true;
  EXPECT_THROW(finish(survey, unitFinish(), &cancelled), Cancelled);
  cancelled = false;
  EXPECT_EQ(finish(survey, unitFinish(), &cancelled).points.size(), 1u);
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
  part.addPoint(4, 8, 0);
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

TEST(Finisher, PutsThePointOfAnIslandWhereTheIslandBegins) {
  Part part;
  part.addLayers(3, {"......."});
  part.addLayer({"###...."});
  part.addLayers(2, {"#######"});
  const Finished finished = finishedOf(part);
  ASSERT_EQ(finished.points.size(), 1u);
  EXPECT_EQ(finished.points[0].reason, Reason::addedForIsland);
  EXPECT_EQ(finished.points[0].site.place.layer, 3u);
  EXPECT_EQ(finished.points[0].site.place.x, 1);
}

TEST(Finisher, GivesSpecksThatStaySeparateAPointEach) {
  Part part;
  part.addLayers(3, {"..."});
  part.addLayers(4, {"#.#"});
  part.addLayer({"###"});
  const Finished finished = finishedOf(part);
  ASSERT_EQ(finished.points.size(), 2u);
  EXPECT_EQ(finished.points[0].site.place.x, 0);
  EXPECT_EQ(finished.points[1].site.place.x, 2);
}

// A pixel that touches nothing, so many layers high.
Part loneSpeck(std::size_t layers, const std::string& row = "..#...") {
  Part part;
  part.addLayers(4, {"......"});
  part.addLayers(layers, {row});
  part.addLayer({"......"});
  part.addPoint(4, 2, 0);
  return part;
}

TEST(Finisher, LeavesASpeckAlone) {
  const Finished finished = finishedOf(loneSpeck(2));
  EXPECT_TRUE(finished.points.empty());
  EXPECT_EQ(finished.islandsLeft, std::vector<uint32_t>{0});
  ASSERT_EQ(finished.dropped.size(), 1u);
  EXPECT_EQ(finished.dropped[0].reason, DropReason::holdsLittle);
  EXPECT_EQ(finished.leftAlone.areaNearPart, 0);
}

TEST(Finisher, HoldsASpeckThatGrowsOnOrHasTwoPixels) {
  EXPECT_EQ(finishedOf(loneSpeck(3)).points.size(), 1u);
  EXPECT_EQ(finishedOf(loneSpeck(1, "..##..")).points.size(), 1u);
}

TEST(Finisher, HoldsASpeckOnWhichSomethingGrows) {
  Part part;
  part.addLayers(4, {"......"});
  part.addLayer({"..#.#."});
  part.addLayers(2, {".####."});
  EXPECT_EQ(finishedOf(part).points.size(), 1u);
}

TEST(Finisher, NeedsNoLiftForASpeckNearThePlate) {
  Part part;
  part.addLayer({"+....."});
  part.addLayer({"+...#."});
  part.addLayers(4, {"+....."});
  const Finished finished = finishedOf(part);
  EXPECT_EQ(finished.islandsLeft, std::vector<uint32_t>{0});
  EXPECT_EQ(finished.leftAlone.lift, 0);
  EXPECT_EQ(finished.leftAlone.areaNearPlate, 0);
}

TEST(Finisher, NeedsNoPointForAnIslandThatHeldMaterialTakesSoon) {
  Part part;
  part.addLayers(3, {"+....."});
  part.addLayer({"+...#."});
  part.addLayer({"+++++."});
  SurveySettings survey = unitSettings();
  survey.steepness = 1;
  EXPECT_TRUE(finish(part.survey(survey), unitFinish()).points.empty());
}

TEST(Finisher, LeavesIslandsAloneUnderWhichNoSupportFits) {
  Part part;
  part.addLayer({"+....."});
  part.addLayers(4, {"+..##."});
  const Finished finished = finishedOf(part);
  EXPECT_TRUE(finished.points.empty());
  EXPECT_EQ(finished.islandsLeft, std::vector<uint32_t>{0});
}

TEST(Finisher, HoldsAnIslandWithoutRoomWhereItHasGrownBeyondWhatIsBelow) {
  Part part;
  part.addLayer({"+......."});
  part.addLayers(2, {"++++...."});
  part.addLayer({"+......."});
  part.addLayer({"+.##...."});
  part.addLayers(4, {"+.#####."});
  const Finished finished = finishedOf(part);
  ASSERT_EQ(finished.points.size(), 1u);
  EXPECT_EQ(finished.points[0].reason, Reason::addedForIsland);
  EXPECT_EQ(finished.points[0].site.place.layer, 5u);
  EXPECT_GE(finished.points[0].site.place.x, 4);
  EXPECT_TRUE(finished.points[0].site.place.hasRoom);
  EXPECT_TRUE(finished.islandsLeft.empty());
}

TEST(Finisher, HoldsWhatStillFloatsAtTheTopWhereverASupportFits) {
  Part part;
  part.addLayer({"+......."});
  part.addLayers(2, {"++++...."});
  part.addLayer({"+......."});
  part.addLayers(4, {"+.##...."});
  part.addLayers(2, {"+.#####."});
  FinishSettings settings = unitFinish();
  settings.share = settings.farShare = 0;
  settings.leastGap = 1000;
  const Finished finished = finishedOf(part, settings);
  ASSERT_EQ(finished.points.size(), 1u);
  EXPECT_EQ(finished.points[0].reason, Reason::addedForIsland);
  EXPECT_EQ(finished.points[0].site.place.layer, 8u);
  EXPECT_EQ(finished.islandsLeft, std::vector<uint32_t>{0}) << "it grew for too long alone";
}

TEST(Finisher, HoldsAnIslandRatherThanKeepingPointsApart) {
  Part part;
  part.addLayers(3, {"....."});
  part.addLayers(2, {"##..."});
  part.addLayers(2, {"##.##"});
  part.addLayer({"##.##"});
  part.addLayer({"#####"});
  part.addPoint(3, 1, 0);
  const Finished finished = finishedOf(part);
  ASSERT_EQ(finished.points.size(), 2u);
  EXPECT_EQ(finished.points[1].site.place.x, 3);
}

TEST(Finisher, PrefersAPointOfTheAnalysisToABetterPlaceNextToIt) {
  Part part = plank(20);
  part.addPoint(4, 13, 0);
  FinishSettings settings = unitFinish();
  settings.share = 0.9;
  const Finished finished = finishedOf(part, settings);
  ASSERT_EQ(finished.points.size(), 2u);
  EXPECT_EQ(finished.points[1].analysed, 0u);
}

TEST(Finisher, AddsAPlaceThatGainsFarMoreThanAPointOfTheAnalysis) {
  Part part = plank(14);
  part.addPoint(4, 2, 0);
  const Finished finished = finishedOf(part);
  ASSERT_EQ(finished.points.size(), 1u);
  EXPECT_EQ(finished.points[0].reason, Reason::addedForOverhang);
  ASSERT_EQ(finished.dropped.size(), 1u);
  EXPECT_EQ(finished.dropped[0].reason, DropReason::merged);
  EXPECT_EQ(finished.dropped[0].into, 0u);
  EXPECT_EQ(finished.points[0].mergedIn, std::vector<uint32_t>{0});
}

TEST(Finisher, DropsAPointThatOthersHaveMadeNeedless) {
  // The middle gains most and comes first; then the ends need points that hold its part, too.
  Part part = plank(22);
  part.addPoint(4, 12, 0);
  part.addPoint(4, 7, 0);
  part.addPoint(4, 17, 0);
  const Finished finished = finishedOf(part);
  ASSERT_EQ(finished.points.size(), 2u);
  EXPECT_EQ(finished.points[0].analysed, 1u);
  EXPECT_EQ(finished.points[1].analysed, 2u);
}

TEST(Finisher, MovesAPointToWhereItHoldsMoreBesideTheOthers) {
  // The end is too far from what holds half of it, so it gets a point, first where it is nearest.
  const Part part = plank(40);
  FinishSettings settings = unitFinish();
  settings.share = 0.5;
  const Finished finished = finishedOf(part, settings);
  ASSERT_EQ(finished.points.size(), 3u);
  const int last = finished.points[2].site.place.x;
  EXPECT_GT(last - finished.points[1].site.place.x, 2 * settings.reach);
  EXPECT_LE(last + settings.reach, 40) << "within the plank";
}

TEST(Finisher, HoldsMoreOfASmallPartThanItsShare) {
  const Part part = plank(30);
  FinishSettings settings = unitFinish();
  settings.share = 0.7;
  settings.farReach = 100;
  const std::size_t points = finishedOf(part, settings).points.size();
  settings.margin = 8;
  EXPECT_EQ(finishedOf(part, settings).points.size(), points + 1);
}

TEST(Finisher, KeepsThePointsThatCarryAFlatUnderside) {
  Part part;
  part.addLayers(4, Rows(9, "+" + std::string(9, '.')));
  part.addLayer(Rows(9, "+" + std::string(9, '#')));
  part.addPoint(4, 5, 2);
  part.addPoint(4, 5, 6);
  FinishSettings settings = unitFinish();
  settings.reach = settings.farReach = 20;
  settings.ownReach = 3;
  settings.leastOwnArea = 10;
  EXPECT_EQ(finishedOf(part, settings).points.size(), 2u);
  settings.leastOwnArea = 30;
  EXPECT_EQ(finishedOf(part, settings).points.size(), 1u);
}

TEST(Finisher, DropsAnAddedPointWhereThoseKeptForTheirStrengthHoldAll) {
  // The middle of the plank gains most, but both points of the analysis stay.
  Part part = plank(14);
  part.addPoint(4, 2, 0);
  part.addPoint(4, 13, 0);
  FinishSettings settings = unitFinish();
  settings.ownReach = 2;
  settings.leastOwnArea = 3;
  const Finished finished = finishedOf(part, settings);
  ASSERT_EQ(finished.points.size(), 2u);
  EXPECT_EQ(finished.points[0].analysed, 0u);
  EXPECT_EQ(finished.points[1].analysed, 1u);
}

TEST(Finisher, ClosesAGapFarFromAllPointsWhateverItsShareOfTheWhole) {
  const Part part = plank(9);
  FinishSettings settings = unitFinish();
  settings.share = settings.farShare = 0;
  settings.leastGap = 2;
  const Finished finished = finishedOf(part, settings);
  ASSERT_EQ(finished.points.size(), 1u);
  EXPECT_EQ(finished.points[0].reason, Reason::addedForOverhang);
  settings.leastGap = 100;
  EXPECT_TRUE(finishedOf(part, settings).points.empty());
}

TEST(Finisher, ReachesOverhangThatIsNotSteepToo) {
  Part part = plank(20);
  part.addPoint(4, 6, 0);
  part.addPoint(4, 15, 0);
  SurveySettings survey = unitSettings();
  survey.steepness = 10;
  FinishSettings settings = unitFinish();
  EXPECT_EQ(finish(part.survey(survey), settings).points.size(), 2u);
  settings.share = 0.5;
  EXPECT_EQ(finish(part.survey(survey), settings).points.size(), 2u) << "for the far reach";
  settings.farShare = 0.5;
  EXPECT_EQ(finish(part.survey(survey), settings).points.size(), 1u);
}

TEST(Finisher, LetsNoPointHoldTheOverhangOfAnotherBranch) {
  Part part;
  part.addLayers(5, {"+.........+"});
  part.addLayers(4, {"+####.####+"});
  part.addPoint(5, 4, 0);
  const Finished finished = finishedOf(part);
  ASSERT_EQ(finished.points.size(), 2u);
  EXPECT_GT(finished.points[1].site.place.x, 5);
}

TEST(Finisher, HoldsWhatHasNoRoomFromBesideIt) {
  Part part;
  part.addLayers(3, {"+....+++++"});
  part.addLayers(1, {"+........."});
  part.addLayers(2, {"+#########"});
  const Finished finished = finishedOf(part);
  ASSERT_EQ(finished.points.size(), 1u);
  EXPECT_TRUE(finished.points[0].site.place.hasRoom);
  EXPECT_EQ(finished.leftAlone.areaNearPart, 0);
}

TEST(Finisher, TellsWhatNoSupportCanHold) {
  Part nearPlate;
  nearPlate.addLayer({"+......."});
  nearPlate.addLayers(3, {"+#######"});
  LeftAlone left = finishedOf(nearPlate).leftAlone;
  EXPECT_EQ(left.areaNearPlate, 6);
  EXPECT_EQ(left.lift, 1);

  Part nearPart;
  nearPart.addLayers(4, {"++++++++"});
  nearPart.addLayer({"+......."});
  nearPart.addLayers(2, {"+#######"});
  left = finishedOf(nearPart).leftAlone;
  EXPECT_EQ(left.areaNearPart, 6);
  EXPECT_EQ(left.areaNearPlate, 0);
  EXPECT_EQ(left.lift, 0);

  Part withVoid;
  withVoid.addLayer({"+++++", "+++++", "+++++"});
  withVoid.addLayers(4, {"+++++", "+...+", "+++++"});
  withVoid.addLayers(2, {"+++++", "+###+", "+++++"});
  SurveySettings survey = unitSettings();
  survey.steepness = 0;
  left = finish(withVoid.survey(survey), unitFinish()).leftAlone;
  EXPECT_EQ(left.sealedArea, 3);
}

TEST(Finisher, SortsItsPointsFromTheBottomUp) {
  Part part;
  part.addLayers(3, {".........", "........."});
  part.addLayers(4, {".......##", "........."});
  part.addLayers(4, {".......##", "##......."});
  part.addLayers(4, {"...#...##", "##......."});
  const Finished finished = finishedOf(part);
  ASSERT_EQ(finished.points.size(), 3u);
  EXPECT_EQ(finished.points[0].site.place.layer, 3u);
  EXPECT_EQ(finished.points[1].site.place.layer, 7u);
  EXPECT_EQ(finished.points[2].site.place.layer, 11u);
}

TEST(Finisher, CountsWhatWasDroppedForAReason) {
  Part part = plank(8);
  part.addPoint(1, 0, 0);
  part.addPoint(1, 4, 0);
  part.addPoint(4, 5, 0);
  const Finished finished = finishedOf(part);
  EXPECT_EQ(finished.dropCount(DropReason::holdsNothing), 2u);
  EXPECT_EQ(finished.dropCount(DropReason::noRoom), 0u);
  EXPECT_EQ(finished.sites().size(), 1u);
}

TEST(Finisher, SettlesLengthsByTheAreaOfASupport) {
  const FinishSettings settings = FinishSettings::forSupportArea(15);
  EXPECT_NEAR(settings.reach, 3, 0.01);
  EXPECT_NEAR(settings.farReach, 5, 0.01);
  EXPECT_NEAR(settings.spacing, 1.55, 0.01);
  const FinishSettings larger = FinishSettings::forSupportArea(60);
  EXPECT_DOUBLE_EQ(larger.reach, 2 * settings.reach);
  EXPECT_DOUBLE_EQ(larger.leastOwnArea, 4 * settings.leastOwnArea);
}

TEST(Finisher, RefusesSettingsThatMakeNoSense) {
  const Part part = plank(8);
  for (double FinishSettings::*setting :
       {&FinishSettings::spacing, &FinishSettings::reach, &FinishSettings::farReach,
        &FinishSettings::ownReach, &FinishSettings::leastOwnArea, &FinishSettings::leastGap,
        &FinishSettings::share, &FinishSettings::farShare, &FinishSettings::margin,
        &FinishSettings::preference, &FinishSettings::islandHeight}) {
    for (const double value : {-1.0, std::nan(""), std::numeric_limits<double>::infinity()}) {
      FinishSettings settings = unitFinish();
      settings.*setting = value;
      EXPECT_THROW(finishedOf(part, settings), std::invalid_argument);
    }
  }
}

TEST(Finisher, TakesSettingsOfAnySize) {
  Part part = plank(8);
  part.addPoint(4, 5, 0);
  for (double FinishSettings::*setting :
       {&FinishSettings::spacing, &FinishSettings::reach, &FinishSettings::farReach,
        &FinishSettings::ownReach, &FinishSettings::leastOwnArea, &FinishSettings::leastGap,
        &FinishSettings::margin, &FinishSettings::preference, &FinishSettings::islandHeight}) {
    for (const double value : {1.0, 1e300}) {
      FinishSettings settings = unitFinish();
      settings.*setting = value;
      EXPECT_FALSE(finishedOf(part, settings).points.empty());
    }
  }
}

TEST(Finisher, FindsNothingToDoInAPartOfNoLayers) {
  EXPECT_TRUE(finishedOf(Part()).points.empty());
}

}  // namespace
}  // namespace stiltforge::hold
