#include "hold/finisher.h"

#include <gtest/gtest.h>

#include <atomic>

#include "finishing.h"

namespace stiltforge::hold {
namespace {

TEST(Finisher, KeepsAPointThatHoldsSomething) {
  const Finished finished = finishedOf(plank(8, {5}));
  EXPECT_EQ(reasonsOf(finished), Reasons{Reason::analysed});
  EXPECT_EQ(analysedOf(finished), Numbers{0});
  EXPECT_TRUE(finished.dropped.empty());
}

TEST(Finisher, FindsNothingToDoInAPartOfNoLayers) {
  EXPECT_TRUE(finishedOf(Part()).points.empty());
}

TEST(Finisher, SortsItsPointsFromTheBottomUp) {
  const Part part = partOf({
      {3, {".........", "........."}},
      {4, {".......##", "........."}},
      {4, {".......##", "##......."}},
      {4, {"...#...##", "##......."}},
  });
  EXPECT_EQ(layersOf(finishedOf(part)), (Numbers{3, 7, 11}));
}

TEST(Finisher, CountsWhatWasDroppedForAReason) {
  Part part = plank(8, {5});
  part.addPoint(1, 0, 0);
  part.addPoint(1, 4, 0);
  const Finished finished = finishedOf(part);
  EXPECT_EQ(finished.dropCount(DropReason::holdsNothing), 2u);
  EXPECT_EQ(finished.dropCount(DropReason::noRoom), 0u);
  EXPECT_EQ(finished.sites().size(), 1u);
}

TEST(Finisher, EndsWhenItIsCancelled) {
  const Survey survey = plank(8, {5}).survey(unitSettings());
  const std::atomic<bool> cancelled = true;
  EXPECT_THROW(finish(survey, unitFinish(), &cancelled), Cancelled);
}

TEST(Finisher, GoesOnWhileItIsNotCancelled) {
  const Survey survey = plank(8, {5}).survey(unitSettings());
  const std::atomic<bool> cancelled = false;
  EXPECT_EQ(finish(survey, unitFinish(), &cancelled).points.size(), 1u);
}

}  // namespace
}  // namespace stiltforge::hold
