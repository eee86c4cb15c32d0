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
