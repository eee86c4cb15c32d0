#include "print/hold_settings.h"

#include <gtest/gtest.h>

namespace stiltforge {
namespace {

TEST(SurveySettingsOfAPrint, AreThoseOfTheUsualPrint) {
  const hold::SurveySettings settings = surveySettings({});
  EXPECT_EQ(settings.pixelSize, 0.05);
  EXPECT_EQ(settings.layerHeight, 0.05);
  EXPECT_EQ(settings.minimumHeight, 0.2);
  EXPECT_EQ(settings.steepness, 1.1);
  EXPECT_EQ(settings.sampleSize, hold::SurveySettings().sampleSize);
}

TEST(SurveySettingsOfAPrint, TakeFewerSamplesForLargerSupports) {
  PrintSettings print;
  print.supportArea = 60;
  EXPECT_EQ(surveySettings(print).sampleSize, 2 * hold::SurveySettings().sampleSize);
  print.supportArea = 1;
  EXPECT_EQ(surveySettings(print).sampleSize, hold::SurveySettings().sampleSize);
}

TEST(SurveySettingsOfAPrint, LookNoFurtherThanAPrinterKnows) {
  PrintSettings print;
  print.criticalAngle = 1e-6;
  const hold::SurveySettings settings = surveySettings(print);
  // Over a step of 0.2 mm and a layer.
  EXPECT_DOUBLE_EQ(settings.steepness * 0.25, 1024 * 0.05);
}

TEST(FinishSettingsOfAPrint, FollowTheAreaButForASpacingOfTheirOwn) {
  PrintSettings print;
  print.supportArea = 25;
  EXPECT_EQ(finishSettings(print).spacing, 2);
  EXPECT_EQ(finishSettings(print).leastOwnArea, 12.5);
  print.minimumSpacing = 0.5;
  EXPECT_EQ(finishSettings(print).spacing, 0.5);
  EXPECT_EQ(finishSettings(print).leastOwnArea, 12.5);
}

TEST(JudgeSettingsOfAPrint, TellNoDistanceOfFewerThanTenPixels) {
  PrintSettings print;
  print.pixelSize = 0.4;
  EXPECT_EQ(judgeSettings(print, 2).nearReach, 4);
  EXPECT_EQ(judgeSettings(print, 2).farReach, 5);
}

TEST(JudgeSettingsOfAPrint, CallNoPairCloseThatWasAskedFor) {
  EXPECT_EQ(judgeSettings({}, 0.5).spacing, 0.5);
  EXPECT_EQ(judgeSettings({}, 2).spacing, 1);
}

}  // namespace
}  // namespace stiltforge
