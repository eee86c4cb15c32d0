#include "hold/finish_settings.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <vector>

#include "finishing.h"

namespace stiltforge::hold {
namespace {

using Setting = double FinishSettings::*;

const std::vector<Setting> settingsOfAnySize{
    &FinishSettings::spacing,  &FinishSettings::reach,        &FinishSettings::farReach,
    &FinishSettings::ownReach, &FinishSettings::leastOwnArea, &FinishSettings::leastGap,
    &FinishSettings::margin,   &FinishSettings::preference,   &FinishSettings::islandHeight};
const std::vector<Setting> shares{&FinishSettings::share, &FinishSettings::farShare};

void expectRefused(Setting setting) {
  for (const double value : {-1.0, std::nan(""), std::numeric_limits<double>::infinity()}) {
    FinishSettings settings = unitFinish();
    settings.*setting = value;
    EXPECT_THROW(finishedOf(plank(8), settings), std::invalid_argument) << value;
  }
}

TEST(FinishSettings, FollowTheAreaOfASupport) {
  const FinishSettings settings = FinishSettings::forSupportArea(15);
  EXPECT_NEAR(settings.reach, 3, 0.01);
  EXPECT_NEAR(settings.farReach, 5, 0.01);
  EXPECT_NEAR(settings.spacing, 1.55, 0.01);
  const FinishSettings larger = FinishSettings::forSupportArea(60);
  EXPECT_DOUBLE_EQ(larger.reach, 2 * settings.reach);
  EXPECT_DOUBLE_EQ(larger.leastOwnArea, 4 * settings.leastOwnArea);
}

TEST(FinishSettings, AreRefusedWhenTheyMakeNoSense) {
  for (const Setting setting : settingsOfAnySize) expectRefused(setting);
  for (const Setting share : shares) expectRefused(share);
}

TEST(FinishSettings, MayBeOfAnySize) {
  for (const Setting setting : settingsOfAnySize) {
    for (const double value : {1.0, 1e300}) {
      FinishSettings settings = unitFinish();
      settings.*setting = value;
      EXPECT_FALSE(finishedOf(plank(8, {5}), settings).points.empty()) << value;
    }
  }
}

}  // namespace
}  // namespace stiltforge::hold
