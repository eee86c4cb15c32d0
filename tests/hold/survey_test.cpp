#include "hold/survey.h"

#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <stdexcept>
#include <utility>

#include "part.h"

namespace stiltforge::hold {
namespace {

TEST(Survey, FindsAnIslandWithItsSizeAndMiddle) {
  Part part;
  part.addLayers(2, {"+.....", "......", "......"});
  part.addLayer({"+.....", "...###", "......"});
  const Survey survey = part.survey(unitSettings());
  ASSERT_EQ(survey.islands().size(), 1u);
  const Island& island = survey.islands()[0];
  EXPECT_EQ(island.pixels, 3u);
  EXPECT_EQ(island.place.layer, 2u);
  EXPECT_EQ(island.place.x, 4);
  EXPECT_EQ(island.place.y, 1);
  EXPECT_TRUE(island.place.hasRoom);
}

TEST(Survey, PutsTheMiddleOfARingOnTheRing) {
  Part part;
  part.addLayer({".....", ".....", ".....", "....."});
  part.addLayer({"###..", "#.#..", "###..", "....."});
  const Place place = part.survey(unitSettings()).islands().at(0).place;
  EXPECT_EQ(place.x, 1);
  EXPECT_EQ(place.y, 0);
}

TEST(Survey, CountsSpecksThatMeetAtACornerAsOneIsland) {
  Part part;
  part.addLayer({"....", "...."});
  part.addLayer({".#..", "..#."});
  EXPECT_EQ(part.survey(unitSettings()).islands().size(), 1u);
}

TEST(Survey, LeavesOutOverhangBesideMaterialBelow) {
  Part part;
  part.addLayer({"++....", "++....", "......"});
  part.addLayer({"++####", "++####", "######"});
  const Survey survey = part.survey(unitSettings());
  uint32_t pixels = 0;
  for (const OverhangRun& run : survey.overhang(1)) {
    EXPECT_EQ(run.begin, 3);
    pixels += run.length();
  }
  EXPECT_EQ(pixels, 9u);
}

TEST(Survey, CountsTheSameSlopeWithFinePixels) {
  Part part;
  part.addLayer({"+........."});
  part.addLayer({"+#########"});
  SurveySettings settings = unitSettings();
  settings.pixelSize = 0.25;
  const Survey survey = part.survey(settings);
  const auto runs = survey.overhang(1);
  ASSERT_EQ(runs.size(), 1u);
  EXPECT_EQ(runs[0].begin, 7) << "beyond a layer and a half";
}

TEST(Survey, CountsNothingThatTheHostCallsSupported) {
  Part part;
  part.addLayer({"+....."});
  part.addLayer({"+++++#"});
  const Survey survey = part.survey(unitSettings());
  ASSERT_EQ(survey.overhang(1).size(), 1u);
  EXPECT_EQ(survey.overhang(1)[0].begin, 5);
}

TEST(Survey, FindsNoOverhangOnThePlate) {
  Part part;
  part.addLayer({"###"});
  const Survey survey = part.survey(unitSettings());
  EXPECT_TRUE(survey.overhang(0).empty());
  EXPECT_TRUE(survey.islands().empty());
}

// Whether a support fits below the overhang of the last layer, at its left and at its right end.
std::pair<bool, bool> hasRoom(const Part& part, std::optional<double> firstLayerHeight) {
  SurveySettings settings = unitSettings();
  settings.minimumHeight = 2;
  settings.firstLayerHeight = firstLayerHeight;
  const Survey survey = part.survey(settings);
  const auto runs = survey.overhang(static_cast<uint32_t>(part.slices.size()) - 1);
  return {runs.front().hasRoom, runs.back().hasRoom};
}

TEST(Survey, FindsTheRoomThatAThickerFirstLayerGives) {
  Part part;
  part.addLayer({"+....."});
  part.addLayer({"++####"});
  EXPECT_EQ(hasRoom(part, std::nullopt), std::pair(false, false));
  EXPECT_EQ(hasRoom(part, 1.9), std::pair(false, false));
  EXPECT_EQ(hasRoom(part, 2), std::pair(true, true));
}

TEST(Survey, FindsLessRoomAboveAThinnerFirstLayerButNotAboveThePart) {
  Part part;
  part.addLayer({"+++..."});
  part.addLayer({"+....."});
  part.addLayer({"+....."});
  part.addLayer({"++####"});
  EXPECT_EQ(hasRoom(part, 0.5), std::pair(true, true));
  part = Part();
  part.addLayer({"+....."});
  part.addLayer({"+....."});
  part.addLayer({"++####"});
  EXPECT_EQ(hasRoom(part, 0.5), std::pair(false, false));
  EXPECT_EQ(hasRoom(part, std::nullopt), std::pair(true, true));
}

TEST(Survey, SplitsOverhangWhereTheRoomBelowEnds) {
  Part part;
  part.addLayer({"......"});
  part.addLayer({"++...."});
  part.addLayer({"......"});
  part.addLayer({"######"});
  const Survey survey = part.survey(unitSettings());
  const auto runs = survey.overhang(3);
  ASSERT_EQ(runs.size(), 2u);
  EXPECT_FALSE(runs[0].hasRoom);
  EXPECT_EQ(runs[0].end, 2);
  EXPECT_TRUE(runs[1].hasRoom);
}

TEST(Survey, RefusesSettingsThatMakeNoSense) {
  const auto refuses = [](auto change) {
    SurveySettings settings = unitSettings();
    change(settings);
    EXPECT_THROW(Survey{settings}, std::invalid_argument);
  };
  constexpr double noNumber = std::numeric_limits<double>::quiet_NaN();
  refuses([](SurveySettings& s) { s.pixelSize = 0; });
  refuses([](SurveySettings& s) { s.layerHeight = -1; });
  refuses([](SurveySettings& s) { s.layerHeight = noNumber; });
  refuses([](SurveySettings& s) { s.minimumHeight = -1; });
  refuses([](SurveySettings& s) { s.minimumHeight = 1e9; });
  refuses([](SurveySettings& s) { s.tipRadius = noNumber; });
  // Their cells in 65535 columns could not be numbered.
  refuses([](SurveySettings& s) { s.sampleSize = s.pixelSize / 40000; });
}

TEST(Survey, TakesLayersOfAnyHeightAndTipsOfManyPixels) {
  Part part;
  part.addLayer({"+"});
  for (const double height : {1e-300, 1e300}) {
    SurveySettings settings = unitSettings();
    settings.layerHeight = height;
    settings.minimumHeight = settings.sampleHeight = 0;
    settings.tipRadius = 60000 * settings.pixelSize;
    Survey survey(settings);
    const SupportPoint point;
    for (int layer = 0; layer < 3; ++layer) {
      survey.add(part.slices[0]);
      survey.addPoints(part.slices[0], {&point, 1});
    }
    EXPECT_EQ(survey.points().size(), 3u);
  }
}

TEST(Survey, RefusesASliceOfAnotherSizeAndStaysAsItWas) {
  Part part;
  part.addLayer({"+++"});
  part.addLayer({"++"});
  Survey survey(unitSettings());
  survey.add(part.slices[0]);
  EXPECT_THROW(survey.add(part.slices[1]), std::invalid_argument);
  EXPECT_EQ(survey.layerCount(), 1u);
  survey.add(part.slices[0]);
  EXPECT_EQ(survey.layerCount(), 2u);
}

TEST(Survey, RefusesPointsBeforeTheFirstSlice) {
  Part part;
  part.addLayer({"+"});
  Survey survey(unitSettings());
  const SupportPoint point;
  EXPECT_THROW(survey.addPoints(part.slices[0], {&point, 1}), std::invalid_argument);
}

}  // namespace
}  // namespace stiltforge::hold
