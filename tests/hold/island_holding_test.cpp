#include "hold/island_holding.h"

#include <gtest/gtest.h>

#include <string>

#include "finishing.h"

namespace stiltforge::hold {
namespace {

// A pixel that touches nothing, or what else is drawn, so many layers high, with a point of the
// analysis.
Part loneSpeck(std::size_t layers, const std::string& row = "..#...") {
  Part part = partOf({
      {4, {"......"}},
      {layers, {row}},
      {1, {"......"}},
  });
  part.addPoint(4, 2, 0);
  return part;
}

TEST(IslandHolding, GivesAnIslandThatNothingHoldsAPoint) {
  const Finished finished = finishedOf(partOf({
      {3, {"+.....", "......"}},
      {4, {"+.....", "...##."}},
  }));
  EXPECT_EQ(reasonsOf(finished), Reasons{Reason::addedForIsland});
  EXPECT_EQ(analysedOf(finished), Numbers{FinishedPoint::none});
  EXPECT_EQ(layersOf(finished), Numbers{3});
  EXPECT_TRUE(finished.points.at(0).site.isIsland);
}

TEST(IslandHolding, PutsThePointWhereTheIslandBegins) {
  const Finished finished = finishedOf(partOf({
      {3, {"......."}},
      {1, {"###...."}},
      {2, {"#######"}},
  }));
  EXPECT_EQ(reasonsOf(finished), Reasons{Reason::addedForIsland});
  EXPECT_EQ(layersOf(finished), Numbers{3});
  EXPECT_EQ(columnsOf(finished), Columns{1});
}

TEST(IslandHolding, NeedsNoPointForAnIslandThatHeldMaterialTakesSoon) {
  const Part part = partOf({
      {3, {"+....."}},
      {1, {"+...#."}},
      {1, {"+++++."}},
  });
  SurveySettings surveyed = unitSettings();
  surveyed.steepness = 1;
  EXPECT_TRUE(finishedOf(part, unitFinish(), surveyed).points.empty());
}

TEST(IslandHolding, GoesBeforeTheSpacing) {
  Part part = partOf({
      {3, {"....."}},
      {2, {"##..."}},
      {3, {"##.##"}},
      {1, {"#####"}},
  });
  part.addPoint(3, 1, 0);
  EXPECT_EQ(columnsOf(finishedOf(part)), (Columns{1, 3}));
}

TEST(IslandHolding, LeavesPointsThatComeTooCloseAsFarApartAsMayBe) {
  Part part = partOf({
      {3, {"......", "......", "......"}},
      {1, {"#.....", "......", "......"}},
      {1, {"#.#.#.", "......", "......"}},
      {2, {"#.###.", "#.....", "#....."}},
      {2, {"#####.", "#.....", "#....."}},
  });
  part.addPoint(4, 2, 0);
  part.addPoint(4, 4, 0);
  part.addPoint(5, 0, 2);
  FinishSettings settings = unitFinish();
  settings.spacing = 5;
  EXPECT_EQ(columnsOf(finishedOf(part, settings)), (Columns{4, 0}));
}

TEST(IslandHolding, LeavesOnePointToSpecksThatGrowTogether) {
  Part part = partOf({
      {3, {"......."}},
      {1, {"#.#.#.#"}},
      {1, {"#######"}},
  });
  for (const int x : {0, 2, 4, 6}) part.addPoint(3, x, 0);
  EXPECT_EQ(reasonsOf(finishedOf(part)), Reasons{Reason::merged});
}

TEST(IslandHolding, GivesSpecksThatStaySeparateAPointEach) {
  const Part part = partOf({
      {3, {"..."}},
      {4, {"#.#"}},
      {1, {"###"}},
  });
  EXPECT_EQ(columnsOf(finishedOf(part)), (Columns{0, 2}));
}

TEST(IslandHolding, LeavesASpeckAlone) {
  const Finished finished = finishedOf(loneSpeck(2));
  EXPECT_TRUE(finished.points.empty());
  EXPECT_EQ(finished.islandsLeft, Numbers{0});
  EXPECT_EQ(dropReasonsOf(finished), DropReasons{DropReason::holdsLittle});
  EXPECT_EQ(finished.leftAlone.areaNearPart, 0);
}

TEST(IslandHolding, HoldsASpeckThatGrowsOn) {
  EXPECT_EQ(finishedOf(loneSpeck(3)).points.size(), 1u);
}

TEST(IslandHolding, HoldsWhatHasTwoPixels) {
  EXPECT_EQ(finishedOf(loneSpeck(1, "..##..")).points.size(), 1u);
}

TEST(IslandHolding, HoldsASpeckOnWhichSomethingGrows) {
  const Part part = partOf({
      {4, {"......"}},
      {1, {"..#.#."}},
      {2, {".####."}},
  });
  EXPECT_EQ(finishedOf(part).points.size(), 1u);
}

TEST(IslandHolding, LeavesAnIslandAloneUnderWhichNoSupportFits) {
  const Finished finished = finishedOf(partOf({
      {1, {"+....."}},
      {4, {"+..##."}},
  }));
  EXPECT_TRUE(finished.points.empty());
  EXPECT_EQ(finished.islandsLeft, Numbers{0});
}

TEST(IslandHolding, HoldsAnIslandWithoutRoomWhereItHasGrownBeyondWhatIsBelow) {
  const Finished finished = finishedOf(partOf({
      {1, {"+......."}},
      {2, {"++++...."}},
      {1, {"+......."}},
      {1, {"+.##...."}},
      {4, {"+.#####."}},
  }));
  EXPECT_EQ(reasonsOf(finished), Reasons{Reason::addedForIsland});
  EXPECT_EQ(layersOf(finished), Numbers{5});
  EXPECT_GE(columnsOf(finished).at(0), 4);
  EXPECT_TRUE(finished.points.at(0).site.place.hasRoom);
  EXPECT_TRUE(finished.islandsLeft.empty());
}

TEST(IslandHolding, HoldsWhatStillFloatsAtTheTopWhereverASupportFits) {
  const Part part = partOf({
      {1, {"+......."}},
      {2, {"++++...."}},
      {1, {"+......."}},
      {4, {"+.##...."}},
      {2, {"+.#####."}},
  });
  FinishSettings settings = unitFinish();
  settings.share = settings.farShare = 0;
  settings.leastGap = 1000;
  const Finished finished = finishedOf(part, settings);
  EXPECT_EQ(reasonsOf(finished), Reasons{Reason::addedForIsland});
  EXPECT_EQ(layersOf(finished), Numbers{8});
  EXPECT_EQ(finished.islandsLeft, Numbers{0}) << "it grew for too long alone";
}

}  // namespace
}  // namespace stiltforge::hold
