#include "scaffold/settings.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace stiltforge::scaffold {
namespace {

std::string conflictOf(const Settings& settings, double lift = 0) {
  const auto conflict = findConflict(settings, lift);
  return conflict ? std::string(conflict->setting) + ": " + conflict->range : "";
}

TEST(ScaffoldSettings, AreUsableAsTheyAre) {
  EXPECT_EQ(conflictOf({}), "");
}

TEST(ScaffoldSettings, HaveRanges) {
  Settings settings;
  settings.tipDiameter = 0;
  EXPECT_EQ(conflictOf(settings), "tipDiameter: it must be from 0.1 to 5 mm");
  settings = {};
  settings.footHeight = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(conflictOf(settings), "footHeight: it must be from 0 to 20 mm");
  settings = {};
  settings.clearance = -1;
  EXPECT_EQ(conflictOf(settings), "clearance: it must be from 0 to 10 mm");
  settings = {};
  settings.layerHeight = 1e300;
  EXPECT_EQ(conflictOf(settings), "layerHeight: it must be from 1e-06 to 1000000 mm");
}

TEST(ScaffoldSettings, GrowFromTheTipToTheFoot) {
  Settings settings;
  settings.pillarDiameter = 0.3;
  EXPECT_EQ(conflictOf(settings), "pillarDiameter: it must be at least the tip's diameter, 0.4 mm");
  settings = {};
  settings.footDiameter = 0.9;
  EXPECT_EQ(conflictOf(settings), "footDiameter: it must be at least the pillar's diameter, 1 mm");
}

TEST(ScaffoldSettings, PutARaftOnlyUnderALiftedPart) {
  Settings settings;
  settings.raftThickness = 1;
  EXPECT_EQ(conflictOf(settings, 1.4),
            "raftThickness: the part must be lifted by at least 1.5 mm, so that the raft and tips "
            "find room below it");
  EXPECT_EQ(conflictOf(settings, 1.5), "");
}

}  // namespace
}  // namespace stiltforge::scaffold
