#include <gtest/gtest.h>

#include "hold/survey.h"
#include "part.h"

namespace stiltforge::hold {
namespace {

// In cells of three pixels.
SurveySettings sampled() {
  SurveySettings settings = unitSettings();
  settings.sampleSize = 3;
  return settings;
}

uint64_t pixelsOf(const Survey& survey) {
  uint64_t pixels = 0;
  for (const OverhangSample& sample : survey.samples()) pixels += sample.pixels;
  return pixels;
}

TEST(Samples, CountTheSteepOverhangOfTheirCell) {
  Part part;
  part.addLayers(3, {"+........"});
  part.addLayer({"+########"});
  const Survey survey = part.survey(sampled());
  ASSERT_EQ(survey.samples().size(), 3u);
  EXPECT_EQ(survey.samples()[0].pixels, 1u);
  EXPECT_EQ(survey.samples()[1].pixels, 3u);
  EXPECT_EQ(survey.samples()[2].pixels, 3u);
}

TEST(Samples, LieWhereASupportIsNeededMost) {
  Part part;
  part.addLayers(3, {"+..."});
  part.addLayer({"+###"});
  SurveySettings settings = sampled();
  settings.sampleSize = 4;
  part.slices.back().blue[0] = 200;
  part.slices.back().blue[1] = 100;
  part.slices.back().blue[2] = 150;
  const Survey survey = part.survey(settings);
  ASSERT_EQ(survey.samples().size(), 1u);
  EXPECT_EQ(survey.samples()[0].place.x, 2);
  EXPECT_EQ(survey.samples()[0].place.layer, 3u);
}

TEST(Samples, LieWhereASupportFitsIfItDoesAnywhereInTheirCell) {
  Part part;
  part.addLayer({"...."});
  part.addLayers(2, {"##.."});
  part.addLayer({"...."});
  part.addLayer({"####"});
  SurveySettings settings = sampled();
  settings.sampleSize = 4;
  const Survey survey = part.survey(settings);
  const OverhangSample& last = survey.samples().back();
  EXPECT_EQ(last.place.layer, 4u);
  EXPECT_EQ(last.place.x, 2);
  EXPECT_TRUE(last.place.hasRoom);
  EXPECT_EQ(last.pixels, 4u);
}

TEST(Samples, CountWhatTheHostCallsSupportedAboveAndBelowWhatHangsOver) {
  Part part;
  part.addLayers(3, {"+........", ".........", "........."});
  part.addLayer({"+++++++++", "+..######", "+++++++++"});
  auto& blue = part.slices.back().blue;
  blue.assign(blue.size(), 200);
  blue.back() = 100;
  const Survey survey = part.survey(sampled());
  EXPECT_EQ(pixelsOf(survey), 7u + 6u + 9u);
  EXPECT_EQ(survey.samples().back().place.x, 8);
  EXPECT_EQ(survey.samples().back().place.y, 1);
}

TEST(Samples, OfSeparateRegionsStaySeparate) {
  Part part;
  part.addLayers(3, {"..."});
  part.addLayer({"#.#"});
  EXPECT_EQ(part.survey(sampled()).samples().size(), 2u);
}

TEST(Samples, CountASurfaceOnceWhereItRisesThroughTheLayers) {
  Part part;
  part.addLayer({"+......."});
  part.addLayer({"+......."});
  part.addLayer({"+####..."});
  part.addLayer({"+######."});
  part.addLayer({"+#######"});
  const Survey survey = part.survey(sampled());
  EXPECT_EQ(pixelsOf(survey), 6u);
}

TEST(Samples, LeaveOutWhatRisesSteeplyEnough) {
  Part part;
  for (std::size_t layer = 0; layer < 12; ++layer) {
    part.addLayer({std::string(1 + layer / 4, '#') + std::string(8 - layer / 4, '.')});
  }
  EXPECT_EQ(pixelsOf(part.survey(sampled())), 0u);
}

}  // namespace
}  // namespace stiltforge::hold
