// Where the supports of a region stand.

#include <algorithm>
#include <cmath>

#include "stages/stages.h"

namespace stiltforge::stages {
namespace {

// The only region of a slice that follows an empty slice.
template <typename Version>
class Placement : public StagesTest<Version> {
 protected:
  using Ghost = typename Version::Ghost;

  void lay(const Picture& picture) {
    this->stages.startAnew();
    this->segment(emptyPicture(picture.width, picture.height));
    this->segment(picture);
  }
  void lay(const Rows& rows, uint8_t blue = 0, uint8_t green = 0) { lay(draw(rows, blue, green)); }
  // A row whose green values ascend from 0, so that the leftmost pixels score lowest.
  void layRisingRow(std::size_t width) {
    Picture row = draw({std::string(width, '#')});
    for (std::size_t x = 0; x < width; ++x) {
      row.pixels[x] = materialPixel(0, static_cast<uint8_t>(std::min<std::size_t>(x, 255)));
    }
    lay(row);
  }
  Placed place(const Wanted& wanted) { return this->stages.place(wanted); }
  uint32_t place(uint32_t supports) { return place(Wanted{supports}).supports; }
  Steps stepsFor(uint32_t supports) { return place(Wanted{supports}).steps; }
  Wanted island(uint32_t supports) const {
    Wanted wanted{supports};
    wanted.isIsland = true;
    return wanted;
  }
  std::vector<Ghost> supports() { return this->stages.supports(); }
  // Sets the number without touching the pixels.
  void claimUnsupported(uint32_t pixels) { this->group().unsupportedPixelCount = pixels; }
};
TYPED_TEST_SUITE(Placement, Versions, VersionName);

TYPED_TEST(Placement, WithoutSupportsOnlySetsTheStrength) {
  this->lay(filledBox(10, 4));
  Wanted nothing;
  nothing.transmittedStrength = 20.0f;
  EXPECT_EQ(this->place(nothing).supports, 0u);
  EXPECT_EQ(this->group().pixelStrength, 0.5f);
  EXPECT_FALSE(this->stages.wasSampled());
}

TYPED_TEST(Placement, LetsSupportsCarryTheirShareOfEveryPixel) {
  this->lay(filledBox(10, 4));
  this->settings.supportStrength = 8.0f;
  Wanted wanted{3, 2};
  wanted.strengthPerSupport = 1.5f;
  wanted.transmittedStrength = 6.0f;
  this->place(wanted);
  EXPECT_EQ(this->group().pixelStrength, (2.0f * 8.0f * 1.5f + 6.0f) / 40.0f);
}

TYPED_TEST(Placement, GivesTheFirstLayerThePlatesStrength) {
  this->segment(filledBox(10, 4));
  this->settings.strengthOfPlatePixel = 0.75f;
  Wanted nothing;
  nothing.transmittedStrength = 20.0f;
  EXPECT_EQ(this->place(nothing).supports, 0u);
  EXPECT_EQ(this->group().pixelStrength, 0.75f);
}

TYPED_TEST(Placement, GivesOnePixelNoStrength) {
  this->lay({"#"});
  Wanted nothing;
  nothing.transmittedStrength = 20.0f;
  this->place(nothing);
  EXPECT_EQ(this->group().pixelStrength, 0.0f);
}

TYPED_TEST(Placement, WidensTheLatticeForManyUnsupportedPixels) {
  this->lay(filledBox(40, 20));
  this->claimUnsupported(400);
  EXPECT_EQ(this->stepsFor(1), (Steps{3, 3})) << "7 and 6 before the limit of 3";
}

TYPED_TEST(Placement, GivesTheLongerSideTheCoarserStep) {
  this->settings.numberOfSamplePerSupport = 100.0f;  // sqrt(200 / 100): between 1 and 2
  this->lay(filledBox(20, 10));
  EXPECT_EQ(this->stepsFor(1), (Steps{2, 1}));
  this->lay(filledBox(10, 20));
  EXPECT_EQ(this->stepsFor(1), (Steps{1, 2}));
  this->settings.numberOfSamplePerSupport = 98.0f;
  this->lay(filledBox(14, 14));
  EXPECT_EQ(this->stepsFor(1), (Steps{2, 1})) << "a square counts as wide";
}

TYPED_TEST(Placement, TakesTheCoarsestLatticeForATargetOfNothing) {
  for (const float samples : {0.0f, -0.0f, -1.0f}) {
    this->settings.numberOfSamplePerSupport = samples;
    this->lay(filledBox(20, 10));
    EXPECT_EQ(this->stepsFor(1), (Steps{3, 3})) << samples;
  }
}

TYPED_TEST(Placement, KeepsEveryPixelForAnEndlessOrUnknownTarget) {
  for (const float samples : {std::nanf(""), HUGE_VALF}) {
    this->settings.numberOfSamplePerSupport = samples;
    this->lay(filledBox(20, 10));
    EXPECT_EQ(this->stepsFor(1), (Steps{1, 1})) << samples;
  }
}

TYPED_TEST(Placement, KeepsTheStepsOfASparseBox) {
  this->settings.numberOfSamplePerSupport = 1.0f;
  this->lay(filledBox(40, 20));
  this->claimUnsupported(119);
  EXPECT_EQ(this->stepsFor(1), (Steps{1, 1}));
  this->lay(filledBox(40, 20));
  this->claimUnsupported(120);
  EXPECT_EQ(this->stepsFor(1), (Steps{3, 3})) << "0.15 in single precision exceeds 0.15 in double";
}

TYPED_TEST(Placement, MayWidenTheStepsOfANarrowBox) {
  this->lay(filledBox(40, 1));
  EXPECT_EQ(this->stepsFor(1), (Steps{2, 2})) << "sqrt(40 / 10)";
}

TYPED_TEST(Placement, TakesEveryPixelWhereTheLatticeMissesTheRegion) {
  this->lay({".#", "#."});  // steps of 3 only look at the corner of the box
  this->settings.numberOfSamplePerSupport = 0.01f;
  const Placed placed = this->place(Wanted{1});
  EXPECT_EQ(placed.supports, 1u);
  EXPECT_EQ(placed.steps, (Steps{1, 1}));
}

TYPED_TEST(Placement, FindsNoPlaceInASupportedRegion) {
  this->lay(filledBox(3, 2), 255);
  const Placed placed = this->place(Wanted{2});
  EXPECT_EQ(placed.supports, 0u);
  EXPECT_TRUE(this->supports().empty());
  EXPECT_EQ(placed.steps, (Steps{1, 1}));
  EXPECT_TRUE(this->stages.wasSampled());
  EXPECT_EQ(placed.scoreNorm, 0.1f);
}

TYPED_TEST(Placement, ScoresBlueAndGreenByTheirParts) {
  this->lay({"##"}, 51, 102);
  this->settings.strokePart = this->settings.anglePart = 0.5f;
  const Placed placed = this->place(Wanted{1});
  EXPECT_FLOAT_EQ(this->supports()[0].score, 0.2f * 0.25f + 0.4f * 0.25f);
  EXPECT_EQ(placed.scoreNorm, this->supports()[0].score);
}

TYPED_TEST(Placement, ScoresLowWhereNoGhostIsNear) {
  this->lay({std::string(40, '#')});
  this->settings.numberOfSamplePerSupport = 1000.0f;
  this->settings.ghostRadius = 10.0f;
  typename TestFixture::Ghost ghost;
  ghost.x = 5;
  this->stages.setGhosts({&ghost});
  const Placed placed = this->place(Wanted{1});
  EXPECT_EQ(placed.supports, 1u);
  EXPECT_EQ(placed.ghostNorm, 255.0f);
  EXPECT_EQ(this->supports()[0].score, 0.0f);
  EXPECT_GE(this->supports()[0].index, 15u) << "seeded beyond the ghost's reach";
  EXPECT_FLOAT_EQ(placed.scoreNorm, 1.0f / 2.5f) << "the pixel on the ghost";
}

TYPED_TEST(Placement, AddsUpMoreGhostsThanSixteenBitsHold) {
  this->lay({std::string(40, '#')});
  this->settings.numberOfSamplePerSupport = 1000.0f;
  this->settings.ghostRadius = 10.0f;
  std::vector<typename TestFixture::Ghost> ghosts(300);
  std::vector<typename TestFixture::Ghost*> pointers;
  for (auto& ghost : ghosts) {
    ghost.x = 5;
    pointers.push_back(&ghost);
  }
  this->stages.setGhosts(pointers);
  EXPECT_EQ(this->place(Wanted{1}).ghostNorm, 300 * 255.0f);
}

// The mean of a row of 200 is column 99, so the support ends on the last candidate left of it.
TYPED_TEST(Placement, KeepsTheBestCandidatesOfASupport) {
  this->settings.numberOfSamplePerSupport = 1000.0f;
  const auto lastCandidate = [&](float samplesPerVoronoi) {
    this->settings.numberOfSamplePerVoronoi = samplesPerVoronoi;
    this->layRisingRow(200);
    this->place(1u);
    return this->supports().at(0).x;
  };
  EXPECT_EQ(lastCandidate(30.0f), 29);
  EXPECT_EQ(lastCandidate(30.9f), 29);
  EXPECT_EQ(lastCandidate(2.0f), 3) << "never fewer than four";
  EXPECT_EQ(lastCandidate(0.0f), 3);
  EXPECT_EQ(lastCandidate(1e9f), 39) << "a fifth of the unsupported pixels at most";
  EXPECT_EQ(lastCandidate(-1.0f), 39) << "wraps to a large number";
  EXPECT_EQ(lastCandidate(std::nanf("")), 3) << "converts to 0";
}

TYPED_TEST(Placement, KeepsMoreCandidatesForMoreSupports) {
  this->settings.numberOfSamplePerSupport = 1000.0f;
  this->settings.numberOfSamplePerVoronoi = 5.0f;
  this->layRisingRow(200);
  EXPECT_EQ(this->place(2u), 2u);
  // Ten candidates, seeds on the first and the sixth; the second cell reaches to the end.
  EXPECT_EQ(this->supports()[0].index, 0u);
  EXPECT_EQ(this->supports()[1].index, 5u);
  EXPECT_EQ(this->supports()[1].x, 9);
  this->settings.numberOfSamplePerVoronoi = 30.0f;
  this->layRisingRow(1000);
  EXPECT_EQ(this->place(2u), 2u);
  EXPECT_EQ(this->supports()[1].x, 59);
  this->settings.numberOfSamplePerVoronoi = 2.0f;
  this->layRisingRow(1000);
  EXPECT_EQ(this->place(2u), 2u);
  EXPECT_EQ(this->supports()[1].x, 7) << "never fewer than four each";
}

TYPED_TEST(Placement, KeepsCandidatesOfEqualScoreTogether) {
  this->settings.numberOfSamplePerSupport = 1000.0f;
  Picture row = draw({std::string(200, '#')});
  for (std::size_t x = 0; x < 200; ++x) {
    const std::size_t green = x < 29 ? x : x < 35 ? 29 : x;
    row.pixels[x] = materialPixel(0, static_cast<uint8_t>(green));
  }
  this->lay(row);
  this->place(1u);
  EXPECT_EQ(this->supports().at(0).x, 34);
}

TYPED_TEST(Placement, LeavesOutTheLastOfARunThatReachesTheEnd) {
  this->settings.numberOfSamplePerSupport = 1000.0f;
  this->settings.numberOfSamplePerVoronoi = 4.0f;
  // Three pixels of the row are better than the rest, all of which tie. In a row of sixteen the
  // sort leaves equals in place, so the last pixel is the one left out.
  Picture row = emptyPicture(16, 1);
  for (std::size_t x = 0; x < 16; ++x) row.pixels[x] = materialPixel(0, x < 3 ? 0 : 200);
  this->lay(row);
  EXPECT_EQ(this->place(2u), 2u);
  // Fifteen candidates give a stride of seven: seeds 0 and 7. With sixteen it would be eight.
  EXPECT_EQ(this->supports()[1].index, 7u);
}

TYPED_TEST(Placement, CutsOneShorterWithoutNumbers) {
  this->settings.numberOfSamplePerSupport = 1000.0f;
  this->settings.anglePart = std::nanf("");
  this->lay({std::string(16, '#')});
  EXPECT_EQ(this->place(2u), 2u);
  // Seven of eight candidates: stride three.
  EXPECT_EQ(this->supports()[0].index, 0u);
  EXPECT_EQ(this->supports()[1].index, 3u);
}

TYPED_TEST(Placement, MovesOneSupportToTheCentre) {
  this->settings.numberOfSamplePerSupport = 100.0f;
  this->lay({"###"});
  EXPECT_EQ(this->place(1u), 1u);
  const auto support = this->supports().at(0);
  EXPECT_EQ(support.x, 1);
  EXPECT_EQ(support.y, 0);
  EXPECT_EQ(support.index, 0u) << "the index stays that of the seed";
  EXPECT_EQ(support.z, 2);
  EXPECT_TRUE(support.isSupport);
  EXPECT_FALSE(support.isMinima);
  EXPECT_FALSE(support.toDelete);
}

TYPED_TEST(Placement, SnapsASupportOverAHoleToTheNearestCandidate) {
  this->settings.numberOfSamplePerSupport = this->settings.numberOfSamplePerVoronoi = 1000.0f;
  const Rows ring = {"#####", "#...#", "#...#", "#...#", "#####"};
  this->lay(ring);
  EXPECT_EQ(this->place(1u), 1u);
  EXPECT_EQ(ring[this->supports()[0].y][this->supports()[0].x], '#');
}

TYPED_TEST(Placement, DropsSupportsThatShareTheirOnlyCandidates) {
  this->lay({"##"});
  EXPECT_EQ(this->place(5u), 1u);
  EXPECT_EQ(this->supports().size(), 1u);
  EXPECT_EQ(this->group().pixelStrength, 5.0f * 20.0f / 2.0f) << "the strength counts all five";
}

TYPED_TEST(Placement, DropsEverySupportWithoutRelaxation) {
  for (const float iterations : {0.0f, -1.0f, std::nanf("")}) {
    this->settings.maxVoronoiIteration = iterations;
    this->lay(filledBox(8, 8));
    EXPECT_EQ(this->place(3u), 0u);
    EXPECT_TRUE(this->supports().empty());
    EXPECT_TRUE(this->stages.wasSampled()) << "all the same";
  }
}

TYPED_TEST(Placement, StopsOnceEverySiteIsSettled) {
  this->settings.numberOfSamplePerSupport = 1000.0f;
  this->settings.maxVoronoiIteration = 50.0f;
  const auto secondColumn = [&](float distance) {
    this->settings.validationDistanceFormVoronoi = distance;
    this->lay({std::string(200, '#')});
    this->place(2u);
    return this->supports().at(1).x;
  };
  const uint16_t afterOne = secondColumn(1000.0f);
  EXPECT_NE(secondColumn(0.0f), afterOne);
  this->settings.maxVoronoiIteration = 1.0f;
  EXPECT_EQ(secondColumn(0.0f), afterOne);
}

TYPED_TEST(Placement, GivesAWideIslandASecondLargerPass) {
  // Seeded at the left end, the farthest sample is 129 away: 129 / 60 + 1.
  this->layRisingRow(131);
  const Placed placed = this->place(this->island(1));
  EXPECT_EQ(placed.supports, 3u);
  EXPECT_EQ(placed.base, 3u);
  EXPECT_EQ(this->group().pixelStrength, 3.0f * 20.0f / 131.0f);
  for (const auto& support : this->supports()) EXPECT_TRUE(support.isMinima);
}

TYPED_TEST(Placement, KeepsAnIslandsSupportsBesideThoseForItsRadius) {
  // Eight candidates, seeds on the first and the fifth; the last pixel is 130 from the fifth.
  this->settings.numberOfSamplePerSupport = 1000.0f;
  this->settings.numberOfSamplePerVoronoi = 4.0f;
  this->layRisingRow(135);
  const Placed placed = this->place(this->island(2));
  EXPECT_EQ(placed.supports, 4u) << "130 / 60 + 2";
  EXPECT_EQ(placed.base, 4u);
}

TYPED_TEST(Placement, GivesAnIslandAtTheVeryRadiusNoMore) {
  this->settings.numberOfSamplePerSupport = 1000.0f;
  this->layRisingRow(61);
  EXPECT_EQ(this->place(this->island(1)).supports, 1u);
  this->layRisingRow(62);
  EXPECT_EQ(this->place(this->island(1)).supports, 2u);
}

TYPED_TEST(Placement, EnlargesOnlyIslands) {
  this->layRisingRow(131);
  EXPECT_EQ(this->place(1u), 1u);
}

TYPED_TEST(Placement, NeverEnlargesAnIslandWithoutCandidates) {
  this->settings.maxSupportRadiusInIsland = -1.0f;
  this->lay(filledBox(3, 2), 255);
  EXPECT_EQ(this->place(this->island(2)).supports, 0u);
  EXPECT_EQ(this->group().pixelStrength, 2.0f * 20.0f / 6.0f) << "that of the only pass";
}

TYPED_TEST(Placement, KeepsTheFirstPassWhenTheSecondHasNoSupports) {
  this->layRisingRow(131);
  this->settings.maxSupportRadiusInIsland = -65.0f;
  this->settings.numberOfSamplePerVoronoi = 1.0f;  // both seeds near the left end
  Wanted wanted = this->island(2);
  wanted.transmittedStrength = 13.1f;
  const Placed placed = this->place(wanted);
  EXPECT_EQ(placed.supports, 0u);
  EXPECT_EQ(placed.base, 0u) << "more than 65 pixels over -65, plus 2";
  EXPECT_EQ(this->supports().size(), 2u);
  EXPECT_FLOAT_EQ(this->group().pixelStrength, 0.1f);
}

}  // namespace
}  // namespace stiltforge::stages
