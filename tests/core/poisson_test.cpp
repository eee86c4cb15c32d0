#include "support/poisson.h"

#include <gtest/gtest.h>

#include <cmath>

#include "core/stage_test.h"
#include "support/group_overhang.h"

namespace stiltforge {
namespace {

// The only group of a slice that follows an empty slice.
class PoissonTest : public LayersTest {
 protected:
  void place(const Picture& picture) {
    layers.clear();
    segment(emptyPicture(picture.width, picture.height));
    segment(picture);
    overhang = overhangOfGroups(layers.back(), {1}).at(0);
  }
  void place(const Rows& rows, uint8_t blue = 0, uint8_t green = 0) {
    place(draw(rows, blue, green));
  }
  // A row whose green values ascend from 0, so that the leftmost pixels score lowest.
  void placeRisingRow(std::size_t width) {
    Picture row = draw({std::string(width, '#')});
    for (std::size_t x = 0; x < width; ++x) {
      row.pixels[x] = materialPixel(0, static_cast<uint8_t>(std::min<std::size_t>(x, 255)));
    }
    place(row);
  }

  Poisson poisson(uint32_t supports) {
    ghostSpread = GhostSpread(settings.ghostRadius);
    ghostSpread.create();
    Poisson generator;
    generator.settings = &settings;
    generator.ghostSpread = &ghostSpread;
    generator.group = &group();
    generator.layer = &layers.back();
    generator.overhang = &overhang;
    generator.layerCount = layers.size();
    generator.nbSupport = generator.nbSupportBase = supports;
    return generator;
  }
  uint32_t generate(uint32_t supports) { return poisson(supports).generateSupports(); }

  Group& group() { return layers.back().groups.at(1); }
  const std::vector<Voxel>& supports() { return group().placement->supports; }
  std::pair<uint32_t, uint32_t> steps() {
    return {group().placement->samples->stepX, group().placement->samples->stepY};
  }
  // Sets the number without touching the pixels.
  void claimUnsupported(uint32_t pixels) { group().unsupportedPixelCount = pixels; }

  std::vector<OverhangSpan> overhang;
  GhostSpread ghostSpread;
};

using Steps = std::pair<uint32_t, uint32_t>;

TEST_F(PoissonTest, WithoutSupportsOnlySetsTheStrength) {
  place(filledBox(10, 4));
  Poisson generator = poisson(0);
  generator.transmittedStrength = 20.0f;
  EXPECT_EQ(generator.generateSupports(), 0u);
  EXPECT_EQ(group().pixelStrength, 0.5f);
  EXPECT_EQ(group().placement, nullptr);
}

TEST_F(PoissonTest, SupportsCarryTheirShareOfEveryPixel) {
  place(filledBox(10, 4));
  settings.supportStrength = 8.0f;
  Poisson generator = poisson(3);
  generator.nbSupportBase = 2;
  generator.strengthPerSupport = 1.5f;
  generator.transmittedStrength = 6.0f;
  generator.generateSupports();
  EXPECT_EQ(group().pixelStrength, (2.0f * 8.0f * 1.5f + 6.0f) / 40.0f);
}

TEST_F(PoissonTest, TheFirstLayerHasThePlatesStrength) {
  place(filledBox(10, 4));
  settings.strengthOfPlatePixel = 0.75f;
  Poisson generator = poisson(0);
  generator.layerCount = 1;
  generator.transmittedStrength = 20.0f;
  EXPECT_EQ(generator.generateSupports(), 0u);
  EXPECT_EQ(group().pixelStrength, 0.75f);
}

TEST_F(PoissonTest, OnePixelHasNoStrength) {
  place({"#"});
  Poisson generator = poisson(0);
  generator.transmittedStrength = 20.0f;
  generator.generateSupports();
  EXPECT_EQ(group().pixelStrength, 0.0f);
}

TEST_F(PoissonTest, ManyUnsupportedPixelsWidenTheLattice) {
  place(filledBox(40, 20));
  claimUnsupported(400);
  generate(1);
  EXPECT_EQ(steps(), (Steps{3, 3})) << "7 and 6 before the limit of 3";
}

TEST_F(PoissonTest, TheLongerSideTakesTheCoarserStep) {
  settings.numberOfSamplePerSupport = 100.0f;  // sqrt(200 / 100): between 1 and 2
  place(filledBox(20, 10));
  generate(1);
  EXPECT_EQ(steps(), (Steps{2, 1}));
  place(filledBox(10, 20));
  generate(1);
  EXPECT_EQ(steps(), (Steps{1, 2}));
  settings.numberOfSamplePerSupport = 98.0f;
  place(filledBox(14, 14));
  generate(1);
  EXPECT_EQ(steps(), (Steps{2, 1})) << "a square counts as wide";
}

TEST_F(PoissonTest, ATargetOfNothingTakesTheCoarsestLattice) {
  for (const float samples : {0.0f, -0.0f, -1.0f}) {
    settings.numberOfSamplePerSupport = samples;
    place(filledBox(20, 10));
    generate(1);
    EXPECT_EQ(steps(), (Steps{3, 3})) << samples;
  }
}

TEST_F(PoissonTest, AnEndlessOrUnknownTargetKeepsEveryPixel) {
  for (const float samples : {std::nanf(""), HUGE_VALF}) {
    settings.numberOfSamplePerSupport = samples;
    place(filledBox(20, 10));
    generate(1);
    EXPECT_EQ(steps(), (Steps{1, 1})) << samples;
  }
}

TEST_F(PoissonTest, ASparseBoxKeepsItsSteps) {
  settings.numberOfSamplePerSupport = 1.0f;
  place(filledBox(40, 20));
  claimUnsupported(119);
  generate(1);
  EXPECT_EQ(steps(), (Steps{1, 1}));
  place(filledBox(40, 20));
  claimUnsupported(120);
  generate(1);
  EXPECT_EQ(steps(), (Steps{3, 3})) << "0.15 in single precision exceeds 0.15 in double";
}

TEST_F(PoissonTest, ANarrowBoxMayWidenItsSteps) {
  place(filledBox(40, 1));
  generate(1);
  EXPECT_EQ(steps(), (Steps{2, 2})) << "sqrt(40 / 10)";
}

TEST_F(PoissonTest, TakesEveryPixelWhereTheLatticeMissesTheGroup) {
  place({".#", "#."});  // steps of 3 only look at the corner of the box
  settings.numberOfSamplePerSupport = 0.01f;
  EXPECT_EQ(generate(1), 1u);
  EXPECT_EQ(steps(), (Steps{1, 1}));
}

TEST_F(PoissonTest, PlacesNothingInASupportedGroup) {
  place(filledBox(3, 2), 255);
  EXPECT_EQ(generate(2), 0u);
  EXPECT_TRUE(supports().empty());
  EXPECT_EQ(steps(), (Steps{1, 1}));
  EXPECT_TRUE(group().placement->samples->rows.empty());
  EXPECT_EQ(group().placement->samples->scoreNorm, 0.1f);
}

TEST_F(PoissonTest, NeverEnlargesAnIslandWithoutCandidates) {
  settings.maxSupportRadiusInIsland = -1.0f;
  place(filledBox(3, 2), 255);
  Poisson generator = poisson(2);
  generator.isIsland = true;
  EXPECT_EQ(generator.generateSupports(), 0u);
  EXPECT_EQ(group().pixelStrength, 2.0f * 20.0f / 6.0f) << "that of the only pass";
}

TEST_F(PoissonTest, ScoresBlueAndGreenByTheirParts) {
  place({"##"}, 51, 102);
  settings.strokePart = settings.anglePart = 0.5f;
  generate(1);
  EXPECT_FLOAT_EQ(supports()[0].score, 0.2f * 0.25f + 0.4f * 0.25f);
  EXPECT_EQ(group().placement->samples->scoreNorm, supports()[0].score);
}

TEST_F(PoissonTest, ScoresLowWhereNoGhostIsNear) {
  place({std::string(40, '#')});
  settings.numberOfSamplePerSupport = 1000.0f;
  settings.maxVoronoiIteration = 1.0f;
  settings.ghostRadius = 10.0f;
  Voxel ghost;
  ghost.x = 5;
  group().ensurePlacement().ghostSupports = {&ghost};
  EXPECT_EQ(generate(1), 1u);
  EXPECT_EQ(group().placement->samples->ghostNorm, 255.0f);
  EXPECT_EQ(supports()[0].score, 0.0f);
  EXPECT_GE(supports()[0].index, 15u) << "seeded beyond the ghost's reach";
  EXPECT_FLOAT_EQ(group().placement->samples->scoreNorm, 1.0f / 2.5f) << "the pixel on the ghost";
}

// The mean of a row of 200 is column 99, so the support ends on the last candidate left of it.
TEST_F(PoissonTest, KeepsTheBestCandidatesOfASupport) {
  settings.numberOfSamplePerSupport = 1000.0f;
  const auto lastCandidate = [&](float samplesPerVoronoi) {
    settings.numberOfSamplePerVoronoi = samplesPerVoronoi;
    placeRisingRow(200);
    generate(1);
    return supports().at(0).x;
  };
  EXPECT_EQ(lastCandidate(30.0f), 29);
  EXPECT_EQ(lastCandidate(30.9f), 29);
  EXPECT_EQ(lastCandidate(2.0f), 3) << "never fewer than four";
  EXPECT_EQ(lastCandidate(0.0f), 3);
  EXPECT_EQ(lastCandidate(1e9f), 39) << "a fifth of the unsupported pixels at most";
  EXPECT_EQ(lastCandidate(-1.0f), 39) << "wraps to a large number";
  EXPECT_EQ(lastCandidate(std::nanf("")), 3) << "converts to 0";
}

TEST_F(PoissonTest, KeepsMoreCandidatesForMoreSupports) {
  settings.numberOfSamplePerSupport = 1000.0f;
  settings.numberOfSamplePerVoronoi = 5.0f;
  placeRisingRow(200);
  EXPECT_EQ(generate(2), 2u);
  // Ten candidates, seeds on the first and the sixth; the second cell reaches to the end.
  EXPECT_EQ(supports()[0].index, 0u);
  EXPECT_EQ(supports()[1].index, 5u);
  EXPECT_EQ(supports()[1].x, 9);
  settings.numberOfSamplePerVoronoi = 30.0f;
  placeRisingRow(1000);
  EXPECT_EQ(generate(2), 2u);
  EXPECT_EQ(supports()[1].x, 59);
  settings.numberOfSamplePerVoronoi = 2.0f;
  placeRisingRow(1000);
  EXPECT_EQ(generate(2), 2u);
  EXPECT_EQ(supports()[1].x, 7) << "never fewer than four each";
}

TEST_F(PoissonTest, KeepsCandidatesOfEqualScoreTogether) {
  settings.numberOfSamplePerSupport = 1000.0f;
  Picture row = draw({std::string(200, '#')});
  for (std::size_t x = 0; x < 200; ++x) {
    const std::size_t green = x < 29 ? x : x < 35 ? 29 : x;
    row.pixels[x] = materialPixel(0, static_cast<uint8_t>(green));
  }
  place(row);
  generate(1);
  EXPECT_EQ(supports().at(0).x, 34);
}

TEST_F(PoissonTest, LeavesOutTheLastOfARunThatReachesTheEnd) {
  settings.numberOfSamplePerSupport = 1000.0f;
  // Three pixels of the row are better than the rest, all of which tie. In a row of sixteen the
  // sort leaves equals in place, so the last pixel is the one left out, and the only one near the
  // mean of what lies around it.
  Picture row = emptyPicture(16, 1);
  for (std::size_t x = 0; x < 16; ++x) row.pixels[x] = materialPixel(0, x < 3 ? 0 : 200);
  place(row);
  Poisson generator = poisson(2);
  settings.numberOfSamplePerVoronoi = 4.0f;
  EXPECT_EQ(generator.generateSupports(), 2u);
  // Fifteen candidates give a stride of seven: seeds 0 and 7. With sixteen it would be eight.
  EXPECT_EQ(supports()[1].index, 7u);
}

TEST_F(PoissonTest, CutsOneShorterWithoutNumbers) {
  settings.numberOfSamplePerSupport = 1000.0f;
  settings.anglePart = std::nanf("");
  place({std::string(16, '#')});
  EXPECT_EQ(generate(2), 2u);
  // Seven of eight candidates: stride three.
  EXPECT_EQ(supports()[0].index, 0u);
  EXPECT_EQ(supports()[1].index, 3u);
}

TEST_F(PoissonTest, OneSupportMovesToTheCentre) {
  settings.numberOfSamplePerSupport = 100.0f;
  place({"###"});
  EXPECT_EQ(generate(1), 1u);
  const Voxel& support = supports().at(0);
  EXPECT_EQ(support.x, 1);
  EXPECT_EQ(support.y, 0);
  EXPECT_EQ(support.index, 0u) << "the index stays that of the seed";
  EXPECT_EQ(support.z, 2);
  EXPECT_TRUE(support.isSupport);
  EXPECT_FALSE(support.isMinima);
  EXPECT_FALSE(support.toDelete);
}

TEST_F(PoissonTest, ASupportOverAHoleSnapsToTheNearestCandidate) {
  settings.numberOfSamplePerSupport = settings.numberOfSamplePerVoronoi = 1000.0f;
  place({"#####", "#...#", "#...#", "#...#", "#####"});
  EXPECT_EQ(generate(1), 1u);
  EXPECT_EQ(last.labels[supports()[0].y * 5u + supports()[0].x], 0x80000001u);
}

TEST_F(PoissonTest, DropsSupportsThatShareTheirOnlyCandidates) {
  place({"##"});
  EXPECT_EQ(generate(5), 1u);
  EXPECT_EQ(supports().size(), 1u);
  EXPECT_EQ(group().pixelStrength, 5.0f * 20.0f / 2.0f) << "the strength counts all five";
}

TEST_F(PoissonTest, SurvivesCountsOfSupportsBeyondAnyCandidates) {
  place(filledBox(8, 8));
  EXPECT_EQ(generate(0x80000000), 1u);
  EXPECT_EQ(generate(0xFFFFFFFF), 1u);
}

TEST_F(PoissonTest, DropsEverySupportWithoutRelaxation) {
  for (const float iterations : {0.0f, -1.0f, std::nanf("")}) {
    settings.maxVoronoiIteration = iterations;
    place(filledBox(8, 8));
    EXPECT_EQ(generate(3), 0u);
    EXPECT_TRUE(supports().empty());
    EXPECT_NE(group().placement->samples, nullptr) << "the group was sampled all the same";
  }
}

TEST_F(PoissonTest, StopsOnceEverySiteIsSettled) {
  settings.numberOfSamplePerSupport = 1000.0f;
  settings.maxVoronoiIteration = 50.0f;
  const auto secondColumn = [&](float distance) {
    settings.validationDistanceFormVoronoi = distance;
    place({std::string(200, '#')});
    generate(2);
    return supports().at(1).x;
  };
  const uint16_t afterOne = secondColumn(1000.0f);
  EXPECT_NE(secondColumn(0.0f), afterOne);
  settings.maxVoronoiIteration = 1.0f;
  EXPECT_EQ(secondColumn(0.0f), afterOne);
}

TEST_F(PoissonTest, AWideIslandGetsASecondLargerPass) {
  // Seeded at the left end, the farthest sample is 129 away: 129 / 60 + 1.
  placeRisingRow(131);
  Poisson generator = poisson(1);
  generator.isIsland = true;
  EXPECT_EQ(generator.generateSupports(), 3u);
  EXPECT_EQ(generator.nbSupportBase, 3u);
  EXPECT_EQ(group().pixelStrength, 3.0f * 20.0f / 131.0f);
  for (const Voxel& support : supports()) EXPECT_TRUE(support.isMinima);
}

TEST_F(PoissonTest, AnIslandKeepsItsSupportsBesideThoseForItsRadius) {
  // Eight candidates, seeds on the first and the fifth; the last pixel is 130 from the fifth.
  settings.numberOfSamplePerSupport = 1000.0f;
  settings.numberOfSamplePerVoronoi = 4.0f;
  placeRisingRow(135);
  Poisson generator = poisson(2);
  generator.isIsland = true;
  EXPECT_EQ(generator.generateSupports(), 4u) << "130 / 60 + 2";
  EXPECT_EQ(generator.nbSupportBase, 4u);
}

TEST_F(PoissonTest, AnIslandAtTheVeryRadiusGetsNone) {
  settings.numberOfSamplePerSupport = 1000.0f;
  placeRisingRow(61);
  Poisson generator = poisson(1);
  generator.isIsland = true;
  EXPECT_EQ(generator.generateSupports(), 1u);
  placeRisingRow(62);
  Poisson wider = poisson(1);
  wider.isIsland = true;
  EXPECT_EQ(wider.generateSupports(), 2u);
}

TEST_F(PoissonTest, OnlyIslandsAreEnlarged) {
  placeRisingRow(131);
  EXPECT_EQ(generate(1), 1u);
}

TEST_F(PoissonTest, ASecondPassWithoutSupportsKeepsTheFirst) {
  placeRisingRow(131);
  settings.maxSupportRadiusInIsland = -65.0f;
  Poisson generator = poisson(2);
  generator.isIsland = true;
  generator.transmittedStrength = 13.1f;
  settings.numberOfSamplePerVoronoi = 1.0f;  // both seeds near the left end
  EXPECT_EQ(generator.generateSupports(), 0u);
  EXPECT_EQ(generator.nbSupportBase, 0u) << "more than 65 pixels over -65, plus 2";
  EXPECT_EQ(supports().size(), 2u);
  EXPECT_FLOAT_EQ(group().pixelStrength, 0.1f);
}

TEST_F(PoissonTest, UnboundedIslandRadiiEnd) {
  for (const float radius : {0.0f, -1.0f, 1e-30f, std::nanf(""), HUGE_VALF}) {
    settings.maxSupportRadiusInIsland = radius;
    placeRisingRow(131);
    Poisson generator = poisson(1);
    generator.isIsland = true;
    EXPECT_LE(generator.generateSupports(), 131u) << radius;
  }
}

// From 2^24 on a sum of equal coordinates rounds, and their mean can fall below them.
TEST_F(PoissonTest, AMeanRoundedOutOfTheBoxSnapsBack) {
  constexpr uint16_t column = 3001;
  constexpr uint16_t height = 6000;
  layers.resize(2);
  Layer& layer = layers.back();
  layer.width = column + 1;
  layer.height = height;
  layer.blue.assign(height, 0);
  layer.green.assign(height, 0);
  layer.groups.resize(2);
  group().xMin = column;
  group().xMax = column + 1;
  group().yMax = height;
  group().numPixel = group().unsupportedPixelCount = height;
  for (uint16_t y = 0; y < height; ++y) {
    overhang.push_back({y, column, column + 1, y});
  }
  settings.numberOfSamplePerSupport = 1e6f;
  EXPECT_EQ(generate(1), 1u);
  EXPECT_EQ(supports()[0].x, column);
}

}  // namespace
}  // namespace stiltforge
