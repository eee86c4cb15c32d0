// How much of a region's weight nothing holds, and how many supports that calls for.

#include <cmath>

#include "stages/stages.h"

namespace stiltforge::stages {
namespace {

// A region of 100 pixels on the second slice, over one that may carry it with half a pixel's
// strength for each shared pixel. A support holds 20 pixels.
template <typename Version>
class Plan : public StagesTest<Version> {
 protected:
  void SetUp() override { restOn(1, 0, 100); }

  // The number of pixels below matters only by what is claimed of it.
  void restOn(uint32_t shared, uint32_t islandDistance, uint32_t unsupported) {
    this->stages.startAnew();
    Picture below = emptyPicture(10, 10);
    below.pixels[0] = materialPixel();
    this->segment(below);
    this->segment(filledBox(10, 10));
    this->stages.lowerGroup().pixelStrength = 0.5f;
    auto& group = this->group();
    this->stages.claimShared(shared);
    group.islandDistance = islandDistance;
    group.unsupportedPixelCount = unsupported;
    group.almostNotBlueCount = group.islandBlueCount = 0;
  }
  void standAlone() {
    this->stages.claimIsland();
    this->group().islandDistance = 0;
  }

  GroupPlan plan() { return this->stages.plan(); }
  uint32_t count() { return plan().count; }
  float remaining() { return plan().remainingStrength; }
};
TYPED_TEST_SUITE(Plan, Versions, VersionName);

TYPED_TEST(Plan, AsksForNothingOnTheFirstSlice) {
  this->stages.startAnew();
  this->segment(filledBox(10, 10));
  EXPECT_EQ(this->count(), 0u);
  EXPECT_FALSE(this->plan().isIsland);
  EXPECT_EQ(this->remaining(), 0.0f);
}

TYPED_TEST(Plan, AsksForNothingForARegionOfOnePixel) {
  this->group().numPixel = 1;
  EXPECT_EQ(this->count(), 0u);
  EXPECT_FALSE(this->plan().isIsland);
  EXPECT_EQ(this->plan().strengthPerSupport, 1.0f);
}

TYPED_TEST(Plan, OwesAnIslandItsWholeWeight) {
  this->standAlone();
  this->settings.islandStrengthSupport = 1.25f;
  EXPECT_TRUE(this->plan().isIsland);
  EXPECT_EQ(this->remaining(), 100.0f);
  EXPECT_EQ(this->count(), 5u);
  EXPECT_EQ(this->plan().strengthPerSupport, 1.25f);
}

TYPED_TEST(Plan, TruncatesTheIslandMultiplierAndLeavesTheBase) {
  this->standAlone();
  this->settings.islandSupportMultiplier = 1.5f;
  EXPECT_EQ(this->plan().islandCount, 7u);
  EXPECT_EQ(this->plan().count, 5u);
  this->settings.islandSupportMultiplier = 0.1f;
  EXPECT_EQ(this->plan().islandCount, 0u);
}

TYPED_TEST(Plan, LetsTheRegionBelowCarryPartOfTheWeight) {
  this->restOn(40, 5, 60);
  EXPECT_EQ(this->plan().transmittedStrength, 20.0f);
  EXPECT_EQ(this->remaining(), 80.0f);
  EXPECT_EQ(this->count(), 4u);
  EXPECT_FALSE(this->plan().isIsland);
  this->settings.strengthTransmited = 2.0f;
  EXPECT_EQ(this->remaining(), 60.0f);
}

TYPED_TEST(Plan, UsesAFactorOfItsOwnCloseToAnIsland) {
  this->restOn(40, 1, 60);
  this->settings.closeToIslandStrengthTransmited = 1.5f;
  EXPECT_EQ(this->plan().transmittedStrength, 20.0f);
  EXPECT_EQ(this->remaining(), 70.0f);
  this->settings.distCloseToIsland = 0.5f;
  EXPECT_EQ(this->remaining(), 80.0f) << "far from an island";
}

TYPED_TEST(Plan, LeavesTheIslandFactorOutWithoutUnsupportedPixels) {
  this->restOn(40, 1, 0);
  this->settings.closeToIslandStrengthTransmited = 1.5f;
  EXPECT_EQ(this->remaining(), 80.0f);
  this->settings.closeToIslandStrengthTransmited = std::nanf("");
  EXPECT_EQ(this->remaining(), 80.0f);
}

TYPED_TEST(Plan, CountsTheRawOverlapAtTheVeryDistance) {
  this->restOn(40, 2, 60);
  EXPECT_EQ(this->plan().transmittedStrength, 40.0f);
  EXPECT_EQ(this->remaining(), 60.0f);
}

TYPED_TEST(Plan, TakesNothingFromBelowAtADistanceThatIsNoNumber) {
  this->restOn(40, 2, 60);
  this->settings.distCloseToIsland = std::nanf("");
  EXPECT_EQ(this->plan().transmittedStrength, 0.0f);
  EXPECT_EQ(this->remaining(), 100.0f);
}

TYPED_TEST(Plan, FallsBackFromMoreSupportsThanUnsupportedPixels) {
  this->restOn(40, 5, 3);
  EXPECT_EQ(this->count(), 0u);
  this->group().almostNotBlueCount = 1;
  EXPECT_EQ(this->count(), 1u);
  this->restOn(40, 5, 4);
  EXPECT_EQ(this->count(), 4u) << "one a pixel is not too many";
}

TYPED_TEST(Plan, FallsBackToOneSupportWithDarkPixelsOnly) {
  this->restOn(40, 1, 3);
  EXPECT_EQ(this->count(), 0u);
  this->group().islandBlueCount = 1;
  EXPECT_EQ(this->count(), 1u) << "close to an island";
  this->restOn(40, 2, 2);
  this->group().islandBlueCount = 1;
  EXPECT_EQ(this->count(), 0u) << "not close to an island";
}

TYPED_TEST(Plan, AsksForOneForAFullySupportedRegionOnlyCloseToAnIsland) {
  this->restOn(40, 1, 0);
  EXPECT_EQ(this->count(), 0u);
  this->group().almostNotBlueCount = 1;
  EXPECT_EQ(this->count(), 0u);
  this->group().islandBlueCount = 1;
  EXPECT_EQ(this->count(), 1u);
  this->group().islandDistance = 2;
  EXPECT_EQ(this->count(), 0u);
}

TYPED_TEST(Plan, LetsAWeakRegionWait) {
  this->restOn(40, 5, 60);
  this->settings.firstSupportMinStrength = 0.25f;  // 20 / 0.25 does not exceed the 80 left
  EXPECT_EQ(this->count(), 4u);
  this->settings.firstSupportMinStrength = 0.2f;
  EXPECT_EQ(this->count(), 0u);
  this->stages.lowerGroup().pixelStrength = 0.0f;
  EXPECT_EQ(this->count(), 5u) << "a region that nothing carries is not weak";
}

TYPED_TEST(Plan, TakesARegionOnOnePixelForAnIslandThatIsNeverWeak) {
  this->restOn(1, 5, 60);
  this->settings.firstSupportMinStrength = 0.1f;  // 200 exceeds the 99.5 left
  EXPECT_TRUE(this->plan().isIsland);
  EXPECT_EQ(this->remaining(), 99.5f);
  EXPECT_EQ(this->count(), 5u);
  this->restOn(2, 5, 60);
  EXPECT_FALSE(this->plan().isIsland);
  EXPECT_EQ(this->count(), 0u) << "with two shared pixels the region is weak";
}

TYPED_TEST(Plan, AsksForNothingWhereEnoughStrengthIsPassedUp) {
  this->restOn(90, 5, 60);
  this->stages.lowerGroup().pixelStrength = 1.0f;
  EXPECT_EQ(this->remaining(), 10.0f);
  EXPECT_EQ(this->count(), 0u);
  this->settings.growthStrength = 9.0f;  // 90 / 9 does not exceed the 10 left
  EXPECT_EQ(this->count(), 1u);
}

TYPED_TEST(Plan, NeverForgivesAWholeSupportsStrength) {
  this->restOn(80, 5, 60);
  this->stages.lowerGroup().pixelStrength = 1.0f;
  this->settings.growthStrength = 0.001f;
  EXPECT_EQ(this->count(), 1u) << "20 left are not below 20";
}

TYPED_TEST(Plan, NeverOwesLessThanNothing) {
  this->restOn(100, 5, 60);
  this->stages.lowerGroup().pixelStrength = 3.0f;
  EXPECT_EQ(this->plan().transmittedStrength, 300.0f);
  EXPECT_EQ(this->remaining(), 0.0f);
  EXPECT_EQ(this->count(), 0u);
}

TYPED_TEST(Plan, FallsBackFromSupportsWithoutStrength) {
  this->standAlone();
  for (const float none : {0.0f, -0.0f, std::nanf(""), 1e-30f}) {
    this->settings.supportStrength = none;
    EXPECT_EQ(this->count(), 0u) << none;
  }
  this->group().islandBlueCount = 1;
  this->settings.supportStrength = 0.0f;
  EXPECT_EQ(this->count(), 1u);
}

TYPED_TEST(Plan, AddsUpTheStrengthOfSeveralRegionsBelow) {
  this->stages.startAnew();
  this->segment({"##.##.....", ".........."});
  this->stages.group(1).pixelStrength = 0.5f;
  this->stages.group(2).pixelStrength = 0.25f;
  this->segment(filledBox(10, 2));
  this->group().islandDistance = 5;
  EXPECT_EQ(this->plan().transmittedStrength, 1.5f);
  EXPECT_EQ(this->remaining(), 18.5f);
}

TYPED_TEST(Plan, IsSpoiledByAnEndlessStrengthEvenWhereItIsNotTouched) {
  const auto layTwo = [&](float untouched) {
    this->stages.startAnew();
    this->segment({"##.##.....", ".........."});
    this->stages.group(2).pixelStrength = untouched;
    this->segment({"##........", "##........"});
    this->group().islandDistance = 5;
  };
  layTwo(HUGE_VALF);
  EXPECT_TRUE(std::isnan(this->plan().transmittedStrength)) << "0 pixels times infinity";
  EXPECT_TRUE(std::isnan(this->remaining()));
  layTwo(std::nanf(""));
  EXPECT_TRUE(std::isnan(this->plan().transmittedStrength));
  layTwo(1e30f);
  EXPECT_FALSE(std::isnan(this->remaining()));
  this->settings.strengthTransmited = 1e30f;
  EXPECT_TRUE(std::isnan(this->remaining())) << "the product is endless";
  EXPECT_FALSE(std::isnan(this->plan().transmittedStrength));
  this->group().almostNotBlueCount = 0;
  EXPECT_EQ(this->count(), 0u);
}

}  // namespace
}  // namespace stiltforge::stages
