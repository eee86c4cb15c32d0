#include "hold/judge.h"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>

#include "part.h"

namespace stiltforge::hold {
namespace {

JudgeSettings limits() {
  JudgeSettings settings;
  settings.islandHeight = 2;
  return settings;
}

Verdict verdictOn(const Part& part, const JudgeSettings& settings = limits(),
                  const SurveySettings& surveyed = unitSettings()) {
  const Survey survey = part.survey(surveyed);
  return judge(survey, survey.points(), settings);
}

// An island over a column that stands elsewhere.
Part partWithIsland() {
  Part part;
  part.addLayers(3, {"+.....", "......"});
  part.addLayers(4, {"+.....", "...##."});
  return part;
}

TEST(Judge, FindsAnIslandThatNothingHolds) {
  const Verdict verdict = verdictOn(partWithIsland());
  ASSERT_EQ(verdict.islands.size(), 1u);
  EXPECT_FALSE(verdict.islands[0].isHeld());
}

TEST(Judge, LetsAPointAFewLayersAboveTakeAnIsland) {
  Part part = partWithIsland();
  part.addPoint(5, 3, 1);
  EXPECT_EQ(verdictOn(part).islands[0].takenIn, 5u);
}

TEST(Judge, CallsAnIslandUnheldThatIsTakenTooLate) {
  Part part = partWithIsland();
  part.addPoint(6, 3, 1);
  EXPECT_FALSE(verdictOn(part).islands[0].isHeld());
}

TEST(Judge, LetsMaterialThatIsHeldTakeAnIsland) {
  Part part;
  part.addLayers(3, {"+....."});
  part.addLayers(2, {"+..##."});
  part.addLayer({"++++++"});
  EXPECT_EQ(verdictOn(part).islands[0].takenIn, 5u);
}

TEST(Judge, LetsOnePointHoldAllSpecksThatGrowTogether) {
  Part part;
  part.addLayers(3, {"......."});
  part.addLayer({"#.#.#.#"});
  part.addLayer({"#######"});
  part.addPoint(3, 6, 0);
  const Verdict verdict = verdictOn(part);
  ASSERT_EQ(verdict.islands.size(), 4u);
  for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(verdict.islands[i].takenIn, 4u);
  EXPECT_EQ(verdict.islands[3].takenIn, 3u);
}

TEST(Judge, MeasuresTheOverhangBeyondReachAndNamesTheWorstPlace) {
  Part part;
  part.addLayers(3, {"............"});
  part.addLayer({"############"});
  part.addPoint(3, 1, 0);
  const Verdict verdict = verdictOn(part);
  EXPECT_EQ(verdict.supportable.pixels, 12u);
  EXPECT_EQ(verdict.supportable.beyondNear, 7u);
  EXPECT_EQ(verdict.supportable.beyondFar, 5u);
  ASSERT_FALSE(verdict.worst.empty());
  EXPECT_EQ(verdict.worst[0].x, 11);
  EXPECT_EQ(verdict.worst[0].layer, 3u);
  EXPECT_EQ(verdict.worst[0].distance, 10);
}

TEST(Judge, KnowsNoDistanceWithoutPoints) {
  const Verdict verdict = verdictOn(partWithIsland());
  EXPECT_EQ(verdict.supportable.beyondFar, verdict.supportable.pixels);
  EXPECT_TRUE(std::isinf(verdict.worst.at(0).distance));
}

TEST(Judge, CountsOverhangCloseToThePlateApart) {
  Part part;
  part.addLayer({"+....."});
  part.addLayer({"++####"});
  const Verdict verdict = verdictOn(part);
  EXPECT_EQ(verdict.supportable.pixels, 0u);
  EXPECT_EQ(verdict.withoutRoom.pixels, 4u);
}

// A box with a void that a roof closes, over an opening where there is one.
Part boxWithVoid(bool open) {
  Part part;
  part.addLayer(Rows(9, "+++++++++"));
  const std::string row = "++.....++";
  Rows walls{"+++++++++", "+++++++++", row, row, row, row, row, "+++++++++", "+++++++++"};
  part.addLayers(2, walls);
  if (open) walls[4][0] = walls[4][1] = '.';
  part.addLayer(walls);
  Rows roof(9, "+++++++++");
  for (int y = 2; y < 7; ++y) roof[static_cast<std::size_t>(y)] = "++#####++";
  part.addLayer(roof);
  part.addLayer(Rows(9, "+++++++++"));
  part.addPoint(4, 4, 4);
  return part;
}

TEST(Judge, FindsPointsAndOverhangInSealedVoids) {
  const Verdict verdict = verdictOn(boxWithVoid(false));
  EXPECT_EQ(verdict.pointsInSealedVoids, std::vector<uint32_t>{0});
  EXPECT_EQ(verdict.sealed.pixels, 9u);
  EXPECT_EQ(verdict.supportable.pixels, 0u);
}

TEST(Judge, CountsAVoidWithAnOpeningAsOutside) {
  const Verdict verdict = verdictOn(boxWithVoid(true));
  EXPECT_TRUE(verdict.pointsInSealedVoids.empty());
  EXPECT_EQ(verdict.sealed.pixels, 0u);
  EXPECT_EQ(verdict.supportable.pixels, 9u);
}

TEST(Judge, FindsPointsThatHoldNothing) {
  Part part = partWithIsland();
  part.addPoint(1, 0, 0);
  part.addPoint(1, 4, 0);
  part.addPoint(1, 60, 60);
  part.addPoint(3, 3, 1);
  const Verdict verdict = verdictOn(part);
  EXPECT_EQ(verdict.onHeldMaterial, std::vector<uint32_t>{0});
  EXPECT_EQ(verdict.inNoMaterial, (std::vector<uint32_t>{1, 2}));
}

TEST(Judge, FindsPointsWithoutRoomBelow) {
  Part part;
  part.addLayer({"+...."});
  part.addLayer({"+####"});
  part.addLayer({"+####"});
  part.addPoint(1, 3, 0);
  EXPECT_EQ(verdictOn(part).pointsWithoutRoom, std::vector<uint32_t>{0});
}

// Two pillars, one pixel apart, that join some layers above their points.
Part pillars(std::size_t layersApart) {
  Part part;
  part.addLayers(2, {"....."});
  part.addLayers(layersApart, {".#.#."});
  part.addLayer({".###."});
  part.addPoint(2, 1, 0);
  part.addPoint(2, 3, 0);
  return part;
}

TEST(Judge, FindsPointsThatAreTooCloseToEachOther) {
  JudgeSettings settings = limits();
  settings.spacing = 2.5;
  const Verdict verdict = verdictOn(pillars(1), settings);
  ASSERT_EQ(verdict.closePairs.size(), 1u);
  EXPECT_EQ(verdict.closePairs[0].first, 0u);
  EXPECT_EQ(verdict.closePairs[0].second, 1u);
  EXPECT_EQ(verdict.closePairs[0].distance, 2);
  EXPECT_FALSE(verdict.closePairs[0].separate);
  settings.spacing = 2;
  EXPECT_TRUE(verdictOn(pillars(1), settings).closePairs.empty());
}

TEST(Judge, KnowsPointsOfRegionsThatStaySeparate) {
  JudgeSettings settings = limits();
  settings.spacing = 2.5;
  EXPECT_FALSE(verdictOn(pillars(2), settings).closePairs.at(0).separate);
  EXPECT_TRUE(verdictOn(pillars(3), settings).closePairs.at(0).separate);
}

TEST(Judge, ListsWorstPlacesApartFromEachOther) {
  Part part;
  part.addLayers(3, Rows(2, std::string(30, '.')));
  part.addLayer(Rows(2, std::string(30, '#')));
  part.addPoint(3, 15, 0);
  JudgeSettings settings = limits();
  settings.worstPlaces = 2;
  const Verdict verdict = verdictOn(part, settings);
  ASSERT_FALSE(verdict.worst.empty());
  EXPECT_LE(verdict.worst.size(), 2u);
  EXPECT_EQ(verdict.worst[0].x, 0);
}

TEST(Judge, LeavesCrumbsOutOfTheWorstPlaces) {
  Part part;
  part.addLayers(3, {"+" + std::string(29, '.')});
  part.addLayer({"+....####" + std::string(20, '.') + "#"});
  part.addPoint(3, 5, 0);
  JudgeSettings settings = limits();
  settings.nearReach = 2;
  settings.leastWorstArea = 2;
  const Verdict verdict = verdictOn(part, settings);
  EXPECT_EQ(verdict.supportable.beyondNear, 2u);
  EXPECT_TRUE(verdict.worst.empty());
  settings.leastWorstArea = 1;
  ASSERT_EQ(verdictOn(part, settings).worst.size(), 2u);
  EXPECT_EQ(verdictOn(part, settings).worst[0].x, 29);
}

TEST(Judge, NamesNoWorstPlaceWhereASurfaceNearlyCarriesItself) {
  Part part;
  for (std::size_t carried = 1; carried <= 19; carried += 2) {
    part.addLayer({std::string(carried, '+') + "##" + std::string(19 - carried, '.')});
  }
  SurveySettings survey = unitSettings();
  survey.steepness = 3;  // pixels a layer; the surface grows by two
  const Verdict verdict = verdictOn(part, limits(), survey);
  EXPECT_GT(verdict.supportable.beyondNear, 0u);
  EXPECT_TRUE(verdict.worst.empty());
  survey.steepness = 1;
  EXPECT_FALSE(verdictOn(part, limits(), survey).worst.empty());
}

TEST(Judge, RefusesLimitsThatMakeNoSense) {
  const Part part = partWithIsland();
  for (double JudgeSettings::*setting :
       {&JudgeSettings::nearReach, &JudgeSettings::farReach, &JudgeSettings::spacing,
        &JudgeSettings::islandHeight, &JudgeSettings::leastWorstArea}) {
    JudgeSettings settings = limits();
    settings.*setting = -1;
    EXPECT_THROW(verdictOn(part, settings), std::invalid_argument);
    settings.*setting = std::nan("");
    EXPECT_THROW(verdictOn(part, settings), std::invalid_argument);
  }
}

TEST(Judge, FindsNothingWrongWithAPartOfNoLayers) {
  const Verdict verdict = verdictOn(Part());
  EXPECT_TRUE(verdict.islands.empty());
  EXPECT_EQ(verdict.supportable.pixels, 0u);
}

}  // namespace
}  // namespace stiltforge::hold
