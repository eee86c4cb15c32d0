#include "hold/relocation.h"

#include <gtest/gtest.h>

#include "finishing.h"

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

}  // namespace
}  // namespace stiltforge::hold
