#include "analysis/layer_overlap.h"

#include <gtest/gtest.h>

#include <map>

#include "analysis/group_counts.h"
#include "core/drawing.h"
#include "core/labelled_layer.h"
#include "core/random.h"
#include "core/stage_test.h"

namespace stiltforge {
namespace {

class LayerOverlap : public LayersTest {};

TEST_F(LayerOverlap, OfAnIslandIsEmpty) {
  segment({"##..", "...."});
  const Group& island = segment({"....", "..#."}).groups[1];
  EXPECT_EQ(overlapOf(island), (std::vector<uint32_t>{0, 0}));
  EXPECT_EQ(island.overlapEntries, 0u);
  EXPECT_EQ(island.supportedPixel, 0u);
  EXPECT_EQ(island.islandDistance, 0u);
}

TEST_F(LayerOverlap, KeepsTheEntriesOfAGroupTogetherInAscendingOrder) {
  segment({"#.#.#", ".....", "#####"});
  const Layer& layer = segment({"#####", "....#", "....#"});
  ASSERT_EQ(layer.groupCount, 1u);
  ASSERT_EQ(layer.overlaps.size(), 4u);
  for (uint32_t k = 0; k < 4; ++k) EXPECT_EQ(layer.overlaps[k].lower, k + 1);
}

Layer grouped(const Picture& picture) {
  Layer layer = labelled(picture);
  countGroups(layer, Settings());
  return layer;
}

Layer randomLayer(Random& random, uint32_t width, uint32_t height) {
  Picture picture = emptyPicture(static_cast<uint16_t>(width), static_cast<uint16_t>(height));
  const uint32_t rarity = 1 + random.below(12);
  bool solid = random.oneIn(2);
  for (uint32_t& pixel : picture.pixels) {
    if (random.oneIn(rarity)) solid = !solid;
    if (solid) pixel = materialPixel();
  }
  Layer layer = grouped(picture);
  for (Group& group : layer.groups) group.islandDistance = random.below(9);
  return layer;
}

// Pixel by pixel, by index.
void expectPlainOverlap(const Layer& layer, const Layer& below) {
  const std::vector<uint32_t> upper = labelPlane(layer);
  const std::vector<uint32_t> lower = labelPlane(below);
  std::vector<std::map<uint32_t, uint32_t>> shared(layer.groups.size());
  for (std::size_t i = 0; i < std::min(upper.size(), lower.size()); ++i) {
    if (upper[i] != 0 && lower[i] != 0) ++shared[upper[i]][lower[i]];
  }
  for (uint32_t id = 1; id < layer.groups.size(); ++id) {
    const Group& group = layer.groups[id];
    ASSERT_EQ(group.overlapEntries, shared[id].size());
    uint32_t k = group.firstOverlap;
    uint32_t sum = 0;
    uint32_t distance = 0;
    for (const auto& [label, count] : shared[id]) {
      ASSERT_EQ(layer.overlaps[k].lower, label);
      ASSERT_EQ(layer.overlaps[k].count, count);
      sum += count;
      distance = std::max(distance, below.groups[label].islandDistance + 1);
      ++k;
    }
    ASSERT_EQ(group.supportedPixel, sum);
    ASSERT_EQ(group.islandDistance, sum == 0 ? 0 : distance);
  }
}

void relateAndCheck(Layer& layer, const Layer& below) {
  for (Group& group : layer.groups) group.islandDistance = 0;
  relateToLayerBelow(layer, below);
  expectPlainOverlap(layer, below);
}

TEST(LayerOverlapProperty, EqualsAPixelByPixelCount) {
  Random random(31);
  for (int i = 0; i < 4000; ++i) {
    const uint32_t width = 1 + random.below(40);
    const uint32_t height = 1 + random.below(40);
    const Layer below = randomLayer(random, width, height);
    Layer layer = randomLayer(random, width, height);
    relateAndCheck(layer, below);
    if (testing::Test::HasFatalFailure()) FAIL() << "pair " << i;
  }
}

TEST(LayerOverlapProperty, ReadsALayerOfAnotherSizeAsTheSequenceOfItsPixels) {
  Random random(32);
  for (int i = 0; i < 4000; ++i) {
    const Layer below = randomLayer(random, random.below(30), random.below(30));
    Layer layer = randomLayer(random, random.below(30), random.below(30));
    relateAndCheck(layer, below);
    if (testing::Test::HasFatalFailure()) FAIL() << "pair " << i;
  }
}

// Enough runs for several tasks, so that bands of rows are merged.
TEST(LayerOverlapProperty, EqualsAPixelByPixelCountOnNoiseOfManyRuns) {
  Random random(33);
  const Layer below = randomLayer(random, 601, 700);
  Picture picture = emptyPicture(601, 700);
  for (uint32_t& pixel : picture.pixels) {
    if (random.oneIn(2)) pixel = materialPixel();
  }
  Layer layer = grouped(picture);
  ASSERT_GT(layer.material.runCount(), 3u << 15);
  relateAndCheck(layer, below);
}

}  // namespace
}  // namespace stiltforge
