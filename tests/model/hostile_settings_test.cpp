#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "analysis/run_extraction.h"
#include "core/core_stack.h"
#include "golden/golden_stack.h"
#include "model/model.h"
#include "model/parameters.h"

namespace stiltforge {
namespace {

// Two slices of 100,000 regions of two pixels each, the upper ones on the left pixel of the lower.
// Under a sanitizer a tenth: there the values count, not the time.
class ManyRegions : public testing::TestWithParam<std::string> {
 protected:
  static constexpr uint16_t width = 1600;
#ifdef STILTFORGE_SANITIZED
  static constexpr uint16_t height = 50;
#else
  static constexpr uint16_t height = 500;
#endif

  static std::vector<uint8_t> picture(int shift) {
    std::vector<uint8_t> rgba(std::size_t{width} * height * 4, 0);
    for (std::size_t i = 0; i < rgba.size() / 4; ++i) {
      const std::size_t x = i % width;
      const std::size_t y = i / width;
      const bool solid = (x + 4 - static_cast<std::size_t>(shift)) % 4 < 2 && y % 2 == 0;
      rgba[4 * i] = solid ? 255 : 0;
      rgba[4 * i + 2] = solid && i % 3 != 0 ? 40 : 0;
      rgba[4 * i + 3] = 255;
    }
    return rgba;
  }

  static ModelParameters usualParameters() {
    ModelParameters parameters = parametersOf(golden::load("01-growing-cone").stack);
    parameters.settings.ghostRadius = 4;
    return parameters;
  }

  static void analyse(const ModelParameters& parameters) {
    Model model(parameters.settings, std::size_t{width} * height);
    for (const int shift : {0, 1}) {
      const std::vector<uint8_t> rgba = picture(shift);
      model.analyse(sliceOfPixels(rgba.data(), width, height), {});
    }
  }
};

// What grows with the square of the regions would take minutes for each value.
TEST_P(ManyRegions, EndWhateverTheValue) {
  const Parameter& parameter = *findParameter(GetParam().c_str());
  for (const double value : {std::nan(""), HUGE_VAL, -HUGE_VAL, 3e38, 0.0}) {
    SCOPED_TRACE(value);
    ModelParameters parameters = usualParameters();
    storeParameter(parameters, parameter, value);
    try {
      analyse(parameters);
    } catch (const std::length_error&) {
      EXPECT_EQ(GetParam(), "ghostRadius") << "only its table may be too large";
    }
  }
}

std::vector<std::string> settingNames() {
  std::vector<std::string> names;
  for (const Parameter& parameter : parameterTable()) {
    if (std::holds_alternative<float Settings::*>(parameter.target) ||
        std::holds_alternative<int32_t Settings::*>(parameter.target)) {
      names.emplace_back(parameter.name);
    }
  }
  return names;
}

INSTANTIATE_TEST_SUITE_P(Settings, ManyRegions, testing::ValuesIn(settingNames()),
                         [](const auto& name) { return name.param; });

}  // namespace
}  // namespace stiltforge
