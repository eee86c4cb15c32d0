#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "capi/parts.h"

namespace stiltforge::capi_test {
namespace {

std::string refusalOf(host::Parameters& parameters, const std::string& name, double value) {
  try {
    parameters.set(name, value);
    return "";
  } catch (const host::Error& error) {
    EXPECT_EQ(error.status(), STILTFORGE_INVALID_ARGUMENT);
    return error.what();
  }
}

TEST(Parameters, BeginWithTheDefaultsAndTakeTheEndsOfTheirRanges) {
  host::Parameters parameters;
  for (const host::ParameterInfo& info : host::parameterTable()) {
    EXPECT_EQ(parameters[info.name], info.default_value) << info.name;
    for (const double value : {info.least, info.most}) {
      parameters.set(info.name, value);
      const bool isSingle = info.kind == STILTFORGE_NUMBER;
      EXPECT_EQ(parameters[info.name], isSingle ? static_cast<float>(value) : value) << info.name;
    }
  }
}

TEST(Parameters, RefuseWhatLiesOutsideAndKeepTheirValue) {
  host::Parameters parameters;
  const double infinity = std::numeric_limits<double>::infinity();
  for (const host::ParameterInfo& info : host::parameterTable()) {
    for (const double value :
         {std::nan(""), infinity, -infinity, info.least - 1, std::nextafter(info.most, infinity)}) {
      EXPECT_NE(refusalOf(parameters, info.name, value), "") << info.name << " " << value;
    }
    EXPECT_EQ(parameters[info.name], info.default_value) << info.name;
  }
  EXPECT_EQ(refusalOf(parameters, "ghostRadius", 4097),
            "stiltforge_parameters_set: ghostRadius is 4097, not a number from 0 to 4096.");
  EXPECT_EQ(refusalOf(parameters, "width", 1.5),
            "stiltforge_parameters_set: width is 1.5, not a whole number from 1 to 65535.");
  EXPECT_EQ(refusalOf(parameters, "needBuffer", 0.5),
            "stiltforge_parameters_set: needBuffer is 0.5, not a whole number from 0 to 1.");
}

TEST(Parameters, NameTheOneThatDoesNotExist) {
  host::Parameters parameters;
  EXPECT_EQ(refusalOf(parameters, "supportStrenght", 1),
            "stiltforge_parameters_set: there is no parameter \"supportStrenght\"; "
            "stiltforge_get_parameter_info() lists them.");
  EXPECT_NE(refusalOf(parameters, "\xFF\x01" + std::string(100000, 'x'), 1).find("\"??xxx"),
            std::string::npos);
  EXPECT_THROW(parameters["nothing"], host::Error);
}

TEST(Parameters, OfAPrintAreTheCommands) {
  const host::Parameters parameters(host::PrintSettings(), 100, 80, 60);
  EXPECT_EQ(parameters["width"], 100);
  EXPECT_EQ(parameters["height"], 80);
  EXPECT_EQ(parameters["numLayer"], 60);
  EXPECT_EQ(parameters["supportStrength"], 6000);
  EXPECT_EQ(parameters["ghostRadius"], 62);
}

TEST(Parameters, OfAPrintThatCannotBeAreRefusedInWords) {
  host::PrintSettings print;
  print.support_area = 0.01;
  try {
    const host::Parameters parameters(print, 10, 10, 1);
    FAIL();
  } catch (const host::Error& error) {
    EXPECT_STREQ(error.what(),
                 "stiltforge_parameters_create_for_print: settings->support_area is 0.01: at a "
                 "pixel size of 0.05 mm it must be from 0.04 mm2, which is 16 pixels, to "
                 "10,700,000 mm2.");
  }
}

}  // namespace
}  // namespace stiltforge::capi_test
