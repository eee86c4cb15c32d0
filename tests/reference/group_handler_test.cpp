#include "reference/group_handler.h"

#include <gtest/gtest.h>

namespace stiltforge::reference {
namespace {

class SupportNeedTest : public testing::Test {
 protected:
  // One group of 100 pixels on the second slice, above one group that can carry it.
  void SetUp() override {
    parameters.supportStrength = 20.0f;
    parameters.firstSupportMinStrength = 2.0f;
    parameters.growthStrength = 1.0f;
    parameters.strengthTransmited = 1.0f;
    layers.resize(2);
    layers[0].groups.push_back(std::make_unique<Group>());
    layers[0].groups.push_back(std::make_unique<Group>());
    layers[0].groups[1]->pixelStrength = 0.5f;
    group.numPixel = 100;
    group.unsupportedPixelCount = 100;
    group.overlap = {0, 0};
  }

  void restOnLowerGroup(uint32_t pixels, uint32_t islandDistance, uint32_t unsupported) {
    group.supportedPixel = pixels;
    group.overlap = {0, pixels};
    group.islandDistance = islandDistance;
    group.unsupportedPixelCount = unsupported;
  }

  SupportNeed need() { return supportNeed(group, layers, parameters); }

  Parameters parameters;
  std::vector<Layer> layers;
  Group group;
};

TEST_F(SupportNeedTest, NothingOnTheFirstSlice) {
  layers.resize(1);
  EXPECT_EQ(need().nbSupport, 0u);
  EXPECT_FALSE(need().isIsland);
  EXPECT_EQ(need().remainingStrength, 0.0f);
}

TEST_F(SupportNeedTest, NothingForAGroupOfOnePixel) {
  group.numPixel = 1;
  EXPECT_EQ(need().nbSupport, 0u);
  EXPECT_FALSE(need().isIsland);
  EXPECT_EQ(need().strengthPerSupport, 1.0f);
}

TEST_F(SupportNeedTest, AnIslandNeedsItsWholeWeight) {
  parameters.islandStrengthSupport = 1.25f;
  EXPECT_TRUE(need().isIsland);
  EXPECT_EQ(need().nbSupport, 5u);
  EXPECT_EQ(need().strengthPerSupport, 1.25f);
}

TEST_F(SupportNeedTest, TheIslandMultiplierTruncatesAndLeavesTheBase) {
  parameters.islandSupportMultiplier = 1.5f;
  EXPECT_EQ(need().nbSupport, 7u);
  EXPECT_EQ(need().nbSupportBase, 5u);
}

TEST_F(SupportNeedTest, TheGroupBelowCarriesPartOfTheWeight) {
  restOnLowerGroup(40, 5, 60);
  EXPECT_EQ(need().transmittedStrength, 20.0f);
  EXPECT_EQ(need().remainingStrength, 80.0f);
  EXPECT_EQ(need().nbSupport, 4u);
  EXPECT_FALSE(need().isIsland);
}

TEST_F(SupportNeedTest, MoreSupportsThanUnsupportedPixelsFallBack) {
  restOnLowerGroup(40, 5, 3);
  EXPECT_EQ(need().nbSupport, 0u);
  group.almostNotBlueCount = 1;
  EXPECT_EQ(need().nbSupport, 1u);
}

TEST_F(SupportNeedTest, OverlapCountsRawAtTheVeryDistance) {
  restOnLowerGroup(40, 2, 60);
  EXPECT_EQ(need().transmittedStrength, 40.0f);
  EXPECT_EQ(need().remainingStrength, 60.0f);
}

TEST_F(SupportNeedTest, CloseToAnIslandUsesItsOwnFactor) {
  restOnLowerGroup(40, 1, 60);
  parameters.closeToIslandStrengthTransmited = 1.5f;
  EXPECT_EQ(need().transmittedStrength, 20.0f);
  EXPECT_EQ(need().remainingStrength, 70.0f);
  group.unsupportedPixelCount = 0;
  EXPECT_EQ(need().remainingStrength, 80.0f) << "without unsupported pixels the factor is left out";
}

TEST_F(SupportNeedTest, WeightNeverFallsBelowNothing) {
  restOnLowerGroup(100, 5, 60);
  layers[0].groups[1]->pixelStrength = 3.0f;
  EXPECT_EQ(need().remainingStrength, 0.0f);
  EXPECT_EQ(need().nbSupport, 0u);
}

TEST_F(SupportNeedTest, OneSharedPixelIsStillAnIslandAndNeverWeak) {
  restOnLowerGroup(1, 5, 60);
  parameters.firstSupportMinStrength = 0.1f;  // 200 exceeds the remaining 99.5
  EXPECT_TRUE(need().isIsland);
  EXPECT_EQ(need().remainingStrength, 99.5f);
  EXPECT_EQ(need().nbSupportBase, 5u);
  restOnLowerGroup(2, 5, 60);
  EXPECT_EQ(need().nbSupport, 0u) << "with two shared pixels the group is weak";
}

TEST_F(SupportNeedTest, FullySupportedGroupsNeedOneOnlyCloseToAnIsland) {
  restOnLowerGroup(40, 1, 0);
  EXPECT_EQ(need().nbSupport, 0u);
  group.islandBlueCount = 1;
  EXPECT_EQ(need().nbSupport, 1u);
  group.islandDistance = 2;
  EXPECT_EQ(need().nbSupport, 0u);
}

TEST_F(SupportNeedTest, SupportsWithoutStrengthFallBack) {
  parameters.supportStrength = 0.0f;
  EXPECT_EQ(need().nbSupport, 0u);
  group.islandBlueCount = 1;
  EXPECT_EQ(need().nbSupport, 1u);
}

TEST_F(SupportNeedTest, EnoughTransmittedStrengthNeedsNoFurtherSupport) {
  restOnLowerGroup(90, 5, 60);
  layers[0].groups[1]->pixelStrength = 1.0f;
  EXPECT_EQ(need().remainingStrength, 10.0f);
  EXPECT_EQ(need().nbSupport, 0u);
  parameters.growthStrength = 9.0f;  // 90 / 9 does not exceed 10
  EXPECT_EQ(need().nbSupport, 1u);
}

}  // namespace
}  // namespace stiltforge::reference
