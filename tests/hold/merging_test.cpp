#include "hold/merging.h"

#include <gtest/gtest.h>

#include "finishing.h"

namespace stiltforge::hold {
namespace {

TEST(Merging, MergesPointsThatStandInEachOthersWay) {
  const Finished finished = finishedOf(plank(8, {4, 5, 6}));
  EXPECT_EQ(reasonsOf(finished), Reasons{Reason::merged});
  EXPECT_EQ(finished.points.at(0).mergedIn.size(), 2u);
  EXPECT_EQ(dropReasonsOf(finished), (DropReasons{DropReason::merged, DropReason::merged}));
  for (const DroppedPoint& dropped : finished.dropped) EXPECT_EQ(dropped.into, 0u);
}

TEST(Merging, DropsPointsWithoutRoom) {
  Part part = partOf({
      {1, {"+...."}},
      {3, {"+####"}},
  });
  part.addPoint(1, 3, 0);
  const Finished finished = finishedOf(part);
  EXPECT_TRUE(finished.points.empty());
  EXPECT_EQ(dropReasonsOf(finished), DropReasons{DropReason::noRoom});
}

TEST(Merging, DropsPointsInSealedVoids) {
  Part part = partOf({
      {1, {"+++++", "+++++", "+++++"}},
      {3, {"+++++", "+...+", "+++++"}},
      {2, {"+++++", "+###+", "+++++"}},
  });
  part.addPoint(4, 2, 1);
  const Finished finished = finishedOf(part);
  EXPECT_TRUE(finished.points.empty());
  EXPECT_EQ(dropReasonsOf(finished), DropReasons{DropReason::sealedVoid});
}

TEST(Merging, DropsPointsThatHoldNothing) {
  Part part = plank(8);
  part.addPoint(1, 0, 0);
  part.addPoint(plankLayer, 5, 0);
  const Finished finished = finishedOf(part);
  EXPECT_EQ(dropReasonsOf(finished), DropReasons{DropReason::holdsNothing});
  EXPECT_EQ(finished.dropped.at(0).analysed, 0u);
}

}  // namespace
}  // namespace stiltforge::hold
