#include "print/analysis_parameters.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <map>
#include <string>

namespace stiltforge {
namespace {

std::map<std::string, double> parametersFor(const PrintSettings& print) {
  std::map<std::string, double> values;
  for (const auto& [name, value] : analysisParameters(print, 100, 80, 60)) values[name] = value;
  return values;
}

TEST(AnalysisParameters, SetsEachParameterOfTheTableOnce) {
  const auto list = analysisParameters({}, 100, 80, 60);
  const auto values = parametersFor({});
  EXPECT_EQ(list.size(), parameterTable().size());
  for (const Parameter& parameter : parameterTable()) {
    ASSERT_TRUE(values.count(parameter.name)) << parameter.name;
    EXPECT_GE(values.at(parameter.name), parameter.least) << parameter.name;
    EXPECT_LE(values.at(parameter.name), parameter.most) << parameter.name;
  }
}

TEST(AnalysisParameters, AreThoseOfThePageForTheDefaultPrint) {
  const auto values = parametersFor({});
  EXPECT_EQ(values.at("supportStrength"), 6000);
  EXPECT_EQ(values.at("numberOfSamplePerVoronoi"), 400);
  EXPECT_EQ(values.at("ghostRadius"), 62);
  EXPECT_EQ(values.at("maxZGhost"), 200);
  EXPECT_EQ(values.at("distCloseToIsland"), 2);
  EXPECT_EQ(values.at("validationDistanceFormVoronoi"), 2);
}

TEST(AnalysisParameters, RoundHalvesUpwards) {
  PrintSettings print;
  print.pixelSize = 1;
  print.supportArea = 16.5;
  EXPECT_EQ(parametersFor(print).at("supportStrength"), 17);
  print.supportArea = 0x1.07ffffffffffep4;  // a step below
  EXPECT_EQ(parametersFor(print).at("supportStrength"), 16);
}

TEST(AnalysisParameters, KeepTheGhostRadiusWithinItsTable) {
  PrintSettings print;
  print.supportArea = 1e9;
  EXPECT_EQ(parametersFor(print).at("ghostRadius"), 4096);
}

TEST(AnalysisParameters, AreStoredAsAModelTakesThem) {
  const ModelParameters parameters = modelParameters({}, 100, 80, 60);
  EXPECT_EQ(parameters.width, 100);
  EXPECT_EQ(parameters.height, 80);
  EXPECT_EQ(parameters.numLayer, 60u);
  EXPECT_FALSE(parameters.needBuffer);
  EXPECT_TRUE(parameters.addSupport);
  EXPECT_EQ(parameters.settings.supportStrength, 6000.0f);
  EXPECT_EQ(parameters.settings.firstSupportMinStrength, 1.3f);
  EXPECT_EQ(parameters.settings.maxGhost, 10000);
}

}  // namespace
}  // namespace stiltforge
