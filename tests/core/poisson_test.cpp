#include "support/poisson.h"

#include <gtest/gtest.h>

#include <cmath>

#include "core/stage_test.h"
#include "support/group_overhang.h"

namespace stiltforge {
namespace {

// The only group of a slice that follows an empty slice. What the plain version does too is tested
// on both, in tests/stages.
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

  std::vector<OverhangSpan> overhang;
  GhostSpread ghostSpread;
};

TEST_F(PoissonTest, SurvivesCountsOfSupportsBeyondAnyCandidates) {
  place(filledBox(8, 8));
  EXPECT_EQ(generate(0x80000000), 1u);
  EXPECT_EQ(generate(0xFFFFFFFF), 1u);
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
