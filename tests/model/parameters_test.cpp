#include "model/parameters.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <string>

namespace stiltforge {
namespace {

double converted(const char* name, double value) {
  ModelParameters parameters;
  storeParameter(parameters, *findParameter(name), value);
  return storedParameter(parameters, *findParameter(name));
}

TEST(ParameterTable, HasTwentyEightRowsOfDifferentNamesAndPlaces) {
  std::set<std::string> names;
  for (const Parameter& parameter : parameterTable()) names.insert(parameter.name);
  EXPECT_EQ(names.size(), 28u);

  ModelParameters parameters;
  double value = 2;
  for (const Parameter& parameter : parameterTable())
    storeParameter(parameters, parameter, value++);
  value = 2;
  for (const Parameter& parameter : parameterTable()) {
    const bool isFlag = std::string(parameter.unit) == "flag";
    EXPECT_EQ(storedParameter(parameters, parameter), isFlag ? 1 : value) << parameter.name;
    ++value;
  }
}

TEST(ParameterTable, FindsRowsByTheirNames) {
  EXPECT_STREQ(findParameter("ghostRadius")->name, "ghostRadius");
  EXPECT_EQ(findParameter("GhostRadius"), nullptr);
  EXPECT_EQ(findParameter(""), nullptr);
}

TEST(ParameterTable, HoldsTheDefaultsInTheirRanges) {
  const ModelParameters parameters;
  for (const Parameter& parameter : parameterTable()) {
    if (parameter.target.index() == 0) continue;  // a size has no default
    EXPECT_GE(storedParameter(parameters, parameter), parameter.least) << parameter.name;
    EXPECT_LE(storedParameter(parameters, parameter), parameter.most) << parameter.name;
  }
}

TEST(ParameterTable, ConvertsNumbersAsTheTargetsTypeSays) {
  EXPECT_EQ(converted("width", 70000), 4464) << "the low 16 bits";
  EXPECT_EQ(converted("numLayer", 4294967297.0), 1) << "the low 32 bits";
  EXPECT_EQ(converted("maxGhost", 200.9), 200);
  EXPECT_EQ(converted("maxGhost", -1.5), -1);
  EXPECT_EQ(converted("maxGhost", 16777217), 16777216) << "through single precision";
  EXPECT_EQ(converted("maxGhost", std::nan("")), -2147483648.0);
  EXPECT_EQ(converted("ghostPart", 0.1), static_cast<double>(0.1f));
  EXPECT_EQ(converted("addSupport", 0), 0);
  EXPECT_EQ(converted("addSupport", 0.5), 1);
}

}  // namespace
}  // namespace stiltforge
