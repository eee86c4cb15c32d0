// How a slice falls into regions and what they rest on.

#include <cmath>

#include "stages/stages.h"

namespace stiltforge::stages {
namespace {

template <typename Version>
class Segmentation : public StagesTest<Version> {
 protected:
  std::vector<uint32_t> blueCounts(uint8_t blue) {
    this->stages.startAnew();
    this->segment({"#"}, blue);
    const auto& group = this->group();
    return {group.unsupportedPixelCount, group.almostNotBlueCount, group.islandBlueCount};
  }
};
TYPED_TEST_SUITE(Segmentation, Versions, VersionName);

using Counts = std::vector<uint32_t>;

TYPED_TEST(Segmentation, FindsNothingInAnEmptySlice) {
  this->segment({"...", "..."});
  EXPECT_EQ(this->stages.groupCount(), 0u);
  EXPECT_EQ(this->stages.pixelCount(), 0u);
  EXPECT_EQ(this->group(0).numPixel, 0u) << "the placeholder";
}

TYPED_TEST(Segmentation, MeasuresARegionOfOnePixel) {
  this->segment({"#.", ".."}, 255, 7);
  ASSERT_EQ(this->stages.groupCount(), 1u);
  const auto& group = this->group();
  EXPECT_EQ(group.id, 1u);
  EXPECT_EQ(group.numPixel, 1u);
  EXPECT_EQ(group.xMin, 0);
  EXPECT_EQ(group.yMin, 0);
  EXPECT_EQ(group.xMax, 1);
  EXPECT_EQ(group.yMax, 1);
  EXPECT_EQ(group.unsupportedPixelCount, 0u);
}

TYPED_TEST(Segmentation, BoxesEveryRegion) {
  this->segment({"......", ".##...", "..##..", "......", "#....#"});
  ASSERT_EQ(this->stages.groupCount(), 3u);
  const auto& group = this->group();
  EXPECT_EQ(group.numPixel, 4u);
  EXPECT_EQ(group.xMin, 1);
  EXPECT_EQ(group.yMin, 1);
  EXPECT_EQ(group.xMax, 4);
  EXPECT_EQ(group.yMax, 3);
  EXPECT_EQ(this->group(3).xMin, 5);
  EXPECT_EQ(this->group(3).yMax, 5);
  EXPECT_EQ(this->stages.pixelCount(), 6u);
}

TYPED_TEST(Segmentation, JoinsAPixelToTheCornerBelowTheEndOfItsRun) {
  this->segment({"#.", ".#"});
  EXPECT_EQ(this->stages.groupCount(), 1u);
  this->segment({".#", "#."});
  EXPECT_EQ(this->stages.groupCount(), 1u);
}

TYPED_TEST(Segmentation, NeverLooksDiagonallyUpwards) {
  this->segment({"#...", "#..#", "###."});
  ASSERT_EQ(this->stages.groupCount(), 2u);
  EXPECT_EQ(this->group(1).numPixel, 5u);
  EXPECT_EQ(this->group(2).numPixel, 1u);
  EXPECT_EQ(this->group(2).xMin, 3);
}

// The fill from (0, 0) descends to (1, 1) over the corner; its run walks up through the material of
// its own column, so the box holds everything that the region's runs pass.
TYPED_TEST(Segmentation, WalksUpToTheTopOfEachRun) {
  this->segment({"#.#", ".##", ".#."});
  ASSERT_EQ(this->stages.groupCount(), 1u);
  EXPECT_EQ(this->group().numPixel, 5u);
  EXPECT_EQ(this->group().xMax, 3);
  EXPECT_EQ(this->group().yMax, 3);
}

TYPED_TEST(Segmentation, CountsBlueStrictlyBelowTheLimits) {
  EXPECT_EQ(this->blueCounts(49), (Counts{1, 1, 1}));
  EXPECT_EQ(this->blueCounts(50), (Counts{1, 0, 0}));
  EXPECT_EQ(this->blueCounts(254), (Counts{1, 0, 0}));
  EXPECT_EQ(this->blueCounts(255), (Counts{0, 0, 0}));
  this->settings.almostNotBlueCounterLimit = 50.5f;
  this->settings.islandMinBlue = 1000.0f;
  EXPECT_EQ(this->blueCounts(50), (Counts{1, 1, 1}));
  EXPECT_EQ(this->blueCounts(51), (Counts{1, 0, 1}));
  EXPECT_EQ(this->blueCounts(255), (Counts{0, 0, 0})) << "supported whatever the limit";
  this->settings.almostNotBlueCounterLimit = -1.0f;
  this->settings.islandMinBlue = std::nanf("");
  EXPECT_EQ(this->blueCounts(0), (Counts{1, 0, 0}));
}

TYPED_TEST(Segmentation, CountsTheLayersOfContinuousMaterialBelow) {
  for (uint32_t n = 0; n < 4; ++n) {
    this->segment({"#.."});
    EXPECT_EQ(this->group().islandDistance, n);
  }
  this->segment({"#.#"});
  EXPECT_EQ(this->group(1).islandDistance, 4u);
  EXPECT_EQ(this->group(2).islandDistance, 0u);
  this->segment({"#.#"});
  EXPECT_EQ(this->group(2).islandDistance, 1u);
  this->segment({"###"});
  EXPECT_EQ(this->group().islandDistance, 6u) << "the longer of the two counts";
}

TYPED_TEST(Segmentation, CountsThePixelsSharedWithEachLowerRegion) {
  this->segment({"##.#", "##.."});
  EXPECT_EQ(this->stages.overlap(), Counts{}) << "nothing lies below the first layer";
  this->segment({"####", "#..."});
  EXPECT_EQ(this->stages.overlap(), (Counts{0, 3, 1}));
  EXPECT_EQ(this->group().supportedPixel, 4u);
  this->segment({"....", "..#."});
  EXPECT_EQ(this->stages.overlap(), (Counts{0, 0}));
  EXPECT_EQ(this->group().supportedPixel, 0u);
}

TYPED_TEST(Segmentation, GivesRegionsOfTheFirstLayerTheirStrength) {
  this->segment({"##"});
  EXPECT_EQ(this->group().pixelStrength, 1.0f);
  this->segment({"##"});
  EXPECT_EQ(this->group().pixelStrength, 0.0f);
}

}  // namespace
}  // namespace stiltforge::stages
