#include "reference/poisson.h"

#include <gtest/gtest.h>

#include <cmath>

#include "reference/flood_fill.h"
#include "reference/picture.h"

namespace stiltforge::reference {
namespace {

// The only group of a slice that follows an empty slice.
class PoissonTest : public testing::Test {
 protected:
  void draw(const std::vector<std::string>& rows, uint8_t blue = 0, uint8_t green = 0) {
    const auto width = static_cast<uint16_t>(rows[0].size());
    const auto height = static_cast<uint16_t>(rows.size());
    std::vector<uint32_t> top(size_t{width} * height, 0);
    const std::vector<std::string> nothing(height, std::string(width, '.'));
    layers.push_back(floodFill(picture(nothing), width, height, parameters, layers, top));
    layers.push_back(floodFill(picture(rows, blue, green), width, height, parameters, layers, top));
  }
  void drawBox(size_t width, size_t height) {
    draw(std::vector<std::string>(height, std::string(width, '#')));
  }

  Group& group() { return *layers.back().groups.at(1); }
  Poisson poisson() { return Poisson(group(), layers.back(), layers, parameters, ghostSpread); }

  // Candidates (x, y) of the lattice with these steps.
  std::vector<std::pair<int, int>> lattice(uint32_t stepX, uint32_t stepY) {
    Poisson p = poisson();
    p.stepX = stepX;
    p.stepY = stepY;
    p.fillSample(false);
    std::vector<std::pair<int, int>> pixels;
    for (const Voxel* voxel : p.candidates) pixels.emplace_back(voxel->x, voxel->y);
    return pixels;
  }

  // Candidates left when `scores` of a row are cut for `supports`.
  size_t cutLength(const std::vector<float>& scores, uint32_t supports) {
    layers.clear();
    drawBox(scores.size(), 1);
    Poisson p = poisson();
    p.nbSupport = supports;
    p.fillSample(false);
    for (size_t i = 0; i < scores.size(); ++i) p.candidates[i]->score = scores[i];
    p.cutCandidates();
    return p.candidates.size();
  }

  Parameters parameters;
  std::vector<Layer> layers;
  GhostSpread ghostSpread;
};

using Pixels = std::vector<std::pair<int, int>>;

TEST_F(PoissonTest, WithoutSupportsOnlySetsTheStrength) {
  drawBox(10, 4);
  Poisson p = poisson();
  p.transmittedStrength = 20.0f;
  EXPECT_EQ(p.generateSupports(), 0u);
  EXPECT_EQ(group().pixelStrength, 0.5f);
  EXPECT_TRUE(group().samples.empty());
  EXPECT_TRUE(group().supports.empty());
  EXPECT_EQ(group().angleNorm, 0.1f);
}

TEST_F(PoissonTest, TheFirstLayerHasThePlatesStrength) {
  drawBox(10, 4);
  layers.erase(layers.begin());
  parameters.strengthOfPlatePixel = 0.75f;
  Poisson p = poisson();
  p.transmittedStrength = 20.0f;
  p.generateSupports();
  EXPECT_EQ(group().pixelStrength, 0.75f);
}

TEST_F(PoissonTest, OnePixelHasNoStrength) {
  drawBox(1, 1);
  Poisson p = poisson();
  p.transmittedStrength = 20.0f;
  p.generateSupports();
  EXPECT_EQ(group().pixelStrength, 0.0f);
}

TEST_F(PoissonTest, ManyUnsupportedPixelsWidenTheLattice) {
  drawBox(40, 20);
  group().unsupportedPixelCount = 400;
  parameters.numberOfSamplePerSupport = 10.0f;
  Poisson p = poisson();
  p.nbSupport = 1;
  p.setLatticeSteps();
  EXPECT_EQ(p.stepX, 3u);
  EXPECT_EQ(p.stepY, 3u);
}

TEST_F(PoissonTest, TheLongerSideTakesTheCoarserStep) {
  parameters.numberOfSamplePerSupport = 100.0f;  // sqrt(200 / 100): between 1 and 2
  drawBox(20, 10);
  Poisson wide = poisson();
  wide.nbSupport = 1;
  wide.setLatticeSteps();
  EXPECT_EQ(wide.stepX, 2u);
  EXPECT_EQ(wide.stepY, 1u);
  layers.clear();
  drawBox(10, 20);
  Poisson high = poisson();
  high.nbSupport = 1;
  high.setLatticeSteps();
  EXPECT_EQ(high.stepX, 1u);
  EXPECT_EQ(high.stepY, 2u);
}

TEST_F(PoissonTest, ATargetOfNothingTakesTheCoarsestLattice) {
  drawBox(20, 10);
  for (const float samples : {0.0f, -1.0f}) {
    parameters.numberOfSamplePerSupport = samples;
    Poisson p = poisson();
    p.nbSupport = 1;
    p.setLatticeSteps();
    EXPECT_EQ(p.stepX, 3u);
    EXPECT_EQ(p.stepY, 3u);
  }
}

TEST_F(PoissonTest, ASparseBoxKeepsItsSteps) {
  drawBox(40, 20);
  parameters.numberOfSamplePerSupport = 1.0f;
  const auto stepFor = [&](uint32_t unsupported) {
    group().unsupportedPixelCount = unsupported;
    Poisson p = poisson();
    p.nbSupport = 1;
    p.setLatticeSteps();
    return p.stepX;
  };
  EXPECT_EQ(stepFor(119), 1u);
  EXPECT_EQ(stepFor(120), 3u) << "0.15 in single precision exceeds 0.15 in double";
}

TEST_F(PoissonTest, ANarrowBoxStartsFromStepsOfOneButMayWidenThem) {
  drawBox(40, 1);
  parameters.numberOfSamplePerSupport = 10.0f;
  Poisson p = poisson();
  p.nbSupport = 1;
  p.stepX = p.stepY = 3;
  p.setLatticeSteps();
  EXPECT_EQ(p.stepX, 2u);
  EXPECT_EQ(p.stepY, 2u);
}

TEST_F(PoissonTest, ShiftsOddLatticeRows) {
  drawBox(6, 2);
  EXPECT_EQ(lattice(2, 1), (Pixels{{0, 0}, {2, 0}, {4, 0}, {1, 1}, {3, 1}, {5, 1}}));
}

TEST_F(PoissonTest, KeepsTheFirstColumnOfShiftedRowsOnlyWithEvenRows) {
  drawBox(8, 5);
  EXPECT_EQ(
      lattice(3, 2),
      (Pixels{{0, 0}, {3, 0}, {6, 0}, {0, 2}, {1, 2}, {4, 2}, {7, 2}, {0, 4}, {3, 4}, {6, 4}}));
  EXPECT_EQ(lattice(3, 3), (Pixels{{0, 0}, {3, 0}, {6, 0}, {1, 3}, {4, 3}, {7, 3}}));
}

TEST_F(PoissonTest, RetriesEveryPixelWhenTheLatticeMissesTheGroup) {
  draw({".#", "#."});  // steps 3 x 3 only look at the corner of the box
  Poisson p = poisson();
  p.stepX = p.stepY = 3;
  p.fillSample(false);
  EXPECT_EQ(p.stepX, 1u);
  EXPECT_EQ(p.stepY, 1u);
  EXPECT_EQ(p.candidates.size(), 2u);
}

TEST_F(PoissonTest, FindsNoCandidateInASupportedGroup) {
  draw({"###", "###"}, 255);
  Poisson p = poisson();
  p.nbSupport = p.nbSupportBase = 2;
  p.stepX = 2;
  EXPECT_EQ(p.generateSupports(), 0u);
  EXPECT_TRUE(group().supports.empty());
  EXPECT_EQ(p.stepX, 1u);
  EXPECT_EQ(group().samples.size(), 6u);
}

TEST_F(PoissonTest, StampsTheConeOfAGhost) {
  drawBox(6, 6);
  ghostSpread = createGhostSpread(2.0f);
  Voxel ghost;
  ghost.x = 3;
  ghost.y = 2;
  Voxel far;
  far.x = 3;
  far.y = 60;
  group().ghostSupports = {&ghost, &far};
  Poisson p = poisson();
  p.fillSample(false);
  p.stampGhosts();
  const auto sum = [&](int x, int y) { return group().samples[y * 6 + x]->ghostSum; };
  EXPECT_EQ(sum(3, 2), 255.0f);
  EXPECT_EQ(sum(2, 2), 127.0f) << "127.5 cut to a byte";
  EXPECT_EQ(sum(4, 3), 74.0f);
  EXPECT_EQ(sum(1, 2), 0.0f);
  EXPECT_EQ(sum(3, 5), 0.0f);
  EXPECT_EQ(group().ghostNorm, 255.0f);
}

TEST_F(PoissonTest, AddsUpTheConesOfSeveralGhosts) {
  drawBox(3, 1);
  ghostSpread = createGhostSpread(2.0f);
  Voxel ghost;
  ghost.x = 1;
  const Voxel same = ghost;
  group().ghostSupports = {&ghost, &same};
  Poisson p = poisson();
  p.fillSample(false);
  p.stampGhosts();
  EXPECT_EQ(group().samples[1]->ghostSum, 510.0f);
  EXPECT_EQ(group().samples[1]->ghostMax, 255.0f);
  EXPECT_EQ(group().ghostNorm, 510.0f);
}

TEST_F(PoissonTest, ScoresBlueAndGreenByTheirParts) {
  draw({"##"}, 51, 102);
  parameters.ghostPart = 1.0f;
  parameters.strokePart = 0.5f;
  parameters.anglePart = 0.5f;
  Poisson p = poisson();
  p.fillSample(false);
  p.scoreSamples();
  EXPECT_FLOAT_EQ(group().samples[0]->score, 0.2f * 0.25f + 0.4f * 0.25f);
  EXPECT_EQ(group().scoreNorm, group().samples[0]->score);
  EXPECT_EQ(group().maxScore, group().scoreNorm);
}

TEST_F(PoissonTest, KeepsTheBestCandidatesOfEachSupport) {
  std::vector<float> scores;
  for (int i = 0; i < 1000; ++i) scores.push_back(static_cast<float>(i));
  parameters.numberOfSamplePerVoronoi = 30.0f;
  EXPECT_EQ(cutLength(scores, 2), 60u);
  parameters.numberOfSamplePerVoronoi = 2.0f;
  EXPECT_EQ(cutLength(scores, 2), 8u) << "never fewer than four a support";
  parameters.numberOfSamplePerVoronoi = 1e9f;
  EXPECT_EQ(cutLength(scores, 2), 200u) << "a fifth of the unsupported pixels at most";
  scores[60] = scores[61] = scores[59];
  parameters.numberOfSamplePerVoronoi = 30.0f;
  EXPECT_EQ(cutLength(scores, 2), 62u) << "equal scores stay together";
}

TEST_F(PoissonTest, LeavesOutTheLastOfARunThatReachesTheEnd) {
  EXPECT_EQ(cutLength(std::vector<float>(20, 0.5f), 1), 19u);
  EXPECT_EQ(cutLength(std::vector<float>(4, 0.5f), 1), 4u) << "nothing to cut";
}

TEST_F(PoissonTest, CutsOneShorterWithoutNumbers) {
  EXPECT_EQ(cutLength(std::vector<float>(20, std::nanf("")), 1), 3u);
}

TEST_F(PoissonTest, OneSupportMovesToTheCentre) {
  drawBox(3, 1);
  parameters.numberOfSamplePerSupport = 100.0f;
  Poisson p = poisson();
  p.nbSupport = p.nbSupportBase = 1;
  EXPECT_EQ(p.generateSupports(), 1u);
  ASSERT_EQ(group().supports.size(), 1u);
  const Voxel& support = *group().supports[0];
  EXPECT_EQ(support.x, 1);
  EXPECT_EQ(support.y, 0);
  EXPECT_EQ(support.index, 0u) << "the index stays that of the seed";
  EXPECT_EQ(support.z, 2);
  EXPECT_TRUE(support.isSupport);
  EXPECT_FALSE(support.isMinima);
}

TEST_F(PoissonTest, ASupportOverAHoleSnapsToTheNearestCandidate) {
  draw({"#####", "#...#", "#...#", "#...#", "#####"});
  parameters.numberOfSamplePerVoronoi = 1000.0f;
  parameters.numberOfSamplePerSupport = 1000.0f;
  Poisson p = poisson();
  p.nbSupport = p.nbSupportBase = 1;
  EXPECT_EQ(p.generateSupports(), 1u);
  const Voxel& support = *group().supports[0];
  EXPECT_EQ(layers.back().labels[support.y * 5u + support.x], 1u);
}

TEST_F(PoissonTest, DropsSupportsThatShareTheirOnlyCandidates) {
  draw({"##"});
  Poisson p = poisson();
  p.nbSupport = p.nbSupportBase = 5;
  EXPECT_EQ(p.generateSupports(), 1u);
  EXPECT_EQ(group().supports.size(), 1u);
  EXPECT_EQ(p.voronois.size(), 1u);
}

TEST_F(PoissonTest, DropsEverySupportWithoutRelaxation) {
  drawBox(8, 8);
  for (const float iterations : {0.0f, -1.0f, std::nanf("")}) {
    parameters.maxVoronoiIteration = iterations;
    Poisson p = poisson();
    p.nbSupport = p.nbSupportBase = 3;
    EXPECT_EQ(p.generateSupports(), 0u);
    EXPECT_TRUE(group().supports.empty());
  }
}

TEST_F(PoissonTest, AWideIslandGetsMoreSupportsOnce) {
  drawBox(20, 20);
  Poisson p = poisson();
  p.isIsland = true;
  p.nbSupport = 2;
  p.nbSupportBase = 1;
  p.maxDist2 = 130 * 130;
  EXPECT_TRUE(p.enlargeIsland());
  EXPECT_EQ(p.nbSupport, 4u) << "130 / 60 + 2";
  EXPECT_EQ(p.nbSupportBase, 4u);
  p.maxDist2 = 1000 * 1000;
  EXPECT_FALSE(p.enlargeIsland());
}

TEST_F(PoissonTest, IslandSupportsAreMinima) {
  drawBox(40, 40);
  parameters.maxSupportRadiusInIsland = 10.0f;
  parameters.supportStrength = 8.0f;
  Poisson p = poisson();
  p.isIsland = true;
  p.nbSupport = p.nbSupportBase = 1;
  const uint32_t kept = p.generateSupports();
  EXPECT_EQ(kept, group().supports.size());
  EXPECT_TRUE(p.secondPass);
  EXPECT_GT(group().supports.size(), 1u);
  for (const auto& support : group().supports) EXPECT_TRUE(support->isMinima);
  EXPECT_EQ(group().pixelStrength, static_cast<float>(p.nbSupportBase) * 8.0f / 1600.0f);
}

// From 2^24 on a sum of equal coordinates rounds, and their mean can fall below them.
TEST_F(PoissonTest, AMeanRoundedOutOfTheBoxSnapsBack) {
  constexpr uint16_t column = 3001;
  constexpr uint16_t height = 6000;
  Layer layer;
  layer.width = column + 1;
  layer.height = height;
  layer.labels.assign(size_t{layer.width} * height, 0);
  layer.supportedPixels.assign(layer.labels.size(), 0);
  layer.strokePixels.assign(layer.labels.size(), 0);
  Group tall;
  tall.id = 1;
  tall.xMin = column;
  tall.xMax = column + 1;
  tall.yMax = height;
  tall.numPixel = tall.unsupportedPixelCount = height;
  for (size_t y = 0; y < height; ++y) layer.labels[y * layer.width + column] = 1;
  layers.resize(2);
  parameters.numberOfSamplePerSupport = 1e6f;
  Poisson p(tall, layer, layers, parameters, ghostSpread);
  p.nbSupport = p.nbSupportBase = 1;
  p.fillSample(false);
  p.seedSites();
  p.relaxSites();
  ASSERT_LT(tall.supports[0]->x, column);
  p.snapSupports();
  EXPECT_EQ(tall.supports[0]->x, column);
}

}  // namespace
}  // namespace stiltforge::reference
