#include "support/group_handler.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>

#include "core/failing_allocation.h"
#include "core/stage_test.h"
#include "runtime/worker_pool.h"

namespace stiltforge {
namespace {

// A group of 100 pixels on the second slice, which may rest on one group below. What the pass
// decides shows in the group's strength: (supports * 20 + transmitted strength) / 100.
class GroupHandlerTest : public LayersTest {
 protected:
  void SetUp() override {
    layLower(0);
    upper = &segment(filledBox(10, 10)).groups[1];
    layers[0].groups[1].pixelStrength = 0.5f;
  }

  // Lower slice with material under the first `pixels` of the upper, never less than one pixel.
  void layLower(uint32_t pixels) {
    Picture lower = emptyPicture(10, 10);
    for (uint32_t i = 0; i < std::max(pixels, 1u); ++i) lower.pixels[i] = materialPixel();
    segment(lower);
  }

  void standAlone() {
    upper->supportedPixel = upper->islandDistance = upper->overlapEntries = 0;
    upper->almostNotBlueCount = upper->islandBlueCount = 0;
  }

  GroupHandler handler() {
    ghostSpread = GhostSpread(settings.ghostRadius);
    ghostSpread.create();
    GroupHandler handler;
    handler.settings = &settings;
    handler.ghostSpread = &ghostSpread;
    handler.layer = &layers.back();
    handler.previousLayer = layers.size() > 1 ? &layers[layers.size() - 2] : nullptr;
    handler.layerCount = layers.size();
    handler.failedTasks = &failedTasks;
    return handler;
  }
  uint32_t run() {
    upper->placement.reset();
    return handler().supportLayer();
  }
  float strength() {
    run();
    return upper->pixelStrength;
  }
  // Runs the pass while no block of so many bytes can be had; returns how many groups failed.
  uint64_t failuresWithoutBlocksOf(std::size_t bytes) {
    failedTasks = 0;
    GroupHandler pass = handler();
    const FailingAllocation noLargeBlocks(bytes);
    placed = pass.supportLayer();
    return failedTasks;
  }
  static float strengthOf(float supports, float transmitted) {
    return (supports * 20.0f + transmitted) / 100.0f;
  }

  Group* upper = nullptr;
  GhostSpread ghostSpread;
  std::atomic<uint64_t> failedTasks{0};
  uint32_t placed = 0;
};

TEST_F(GroupHandlerTest, OfALayerWithoutGroupsPlacesNothing) {
  segment(emptyPicture(10, 10));
  EXPECT_EQ(run(), 0u);
}

TEST_F(GroupHandlerTest, PlacesTheSameOnOneWorkerAndWhereNobodyKnowsTheProcessors) {
  const int usual = workers::count();
  const uint32_t placedAsUsual = run();
  ASSERT_GT(placedAsUsual, 0u);
  for (const int n : {1, 0, -3}) {
    workers::setCount(n);
    EXPECT_EQ(workers::count(), 1) << "at least one";
    EXPECT_EQ(run(), placedAsUsual) << n;
  }
  workers::setCount(usual);
}

TEST_F(GroupHandlerTest, OnTheFirstSliceOnlySetsThePlatesStrength) {
  layers.clear();
  segment(filledBox(10, 10));
  upper = &layers[0].groups[1];
  settings.strengthOfPlatePixel = 0.25f;
  EXPECT_EQ(run(), 0u);
  EXPECT_EQ(upper->pixelStrength, 0.25f);
  EXPECT_EQ(upper->placement, nullptr);
}

TEST_F(GroupHandlerTest, TellsWhatTheLayerWasOwed) {
  standAlone();
  run();
  EXPECT_EQ(layers.back().owedPixels, 100.0) << "an island, its whole weight";
  layers.clear();
  segment(filledBox(10, 10));
  upper = &layers[0].groups[1];
  run();
  EXPECT_EQ(layers.back().owedPixels, 0.0) << "the plate holds the first slice";
}

TEST_F(GroupHandlerTest, AnIslandNeedsItsWholeWeight) {
  standAlone();
  EXPECT_EQ(strength(), strengthOf(5, 0));
  EXPECT_EQ(upper->placement->supports.size(), 5u);
  for (const Voxel& support : upper->placement->supports) EXPECT_TRUE(support.isMinima);
  settings.islandStrengthSupport = 1.25f;
  EXPECT_EQ(strength(), 5.0f * 20.0f * 1.25f / 100.0f);
}

TEST_F(GroupHandlerTest, TheIslandMultiplierTruncatesAndLeavesTheStrength) {
  standAlone();
  settings.islandSupportMultiplier = 1.5f;
  EXPECT_EQ(run(), 7u);
  EXPECT_EQ(upper->pixelStrength, strengthOf(5, 0));
  settings.islandSupportMultiplier = 0.1f;
  EXPECT_EQ(run(), 0u);
  EXPECT_EQ(upper->pixelStrength, strengthOf(5, 0));
}

TEST_F(GroupHandlerTest, UnboundedIslandMultipliersEnd) {
  standAlone();
  for (const float multiplier : {HUGE_VALF, -HUGE_VALF, std::nanf(""), 1e30f, -1.0f}) {
    settings.islandSupportMultiplier = multiplier;
    EXPECT_LE(run(), 100u) << multiplier;
  }
}

TEST_F(GroupHandlerTest, ReturnsTheSumOverAllGroups) {
  layers.clear();
  segment(emptyPicture(60, 40));
  Picture layer = emptyPicture(60, 40);
  for (uint32_t y = 0; y < 40; ++y) {
    for (uint32_t x = 0; x < 60; ++x) {
      if (x % 12 < 10 && y % 8 < 6) layer.pixels[y * 60 + x] = materialPixel();
    }
  }
  segment(layer);
  upper = &layers.back().groups[1];
  const uint32_t total = run();
  std::size_t sum = 0;
  for (const Group& group : layers.back().groups) {
    if (group.placement) sum += group.placement->supports.size();
  }
  EXPECT_EQ(layers.back().groupCount, 25u);
  EXPECT_EQ(total, sum);
  EXPECT_EQ(total, 25u * 3) << "60 pixels each";
}

TEST_F(GroupHandlerTest, CountsAGroupThatFailsAndCarriesOn) {
  layers.clear();
  segment(emptyPicture(700, 300));
  Picture layer = emptyPicture(700, 300);
  for (uint32_t y = 0; y < 300; ++y) {
    for (uint32_t x = 0; x < 700; ++x) {
      if (x < 10 ? y < 10 : x >= 20) layer.pixels[y * 700 + x] = materialPixel();
    }
  }
  segment(layer);
  settings.numberOfSamplePerSupport = 1e6f;  // every pixel a candidate
  EXPECT_EQ(failuresWithoutBlocksOf(300000), 1u);
  EXPECT_EQ(placed, 5u);
  EXPECT_EQ(layers.back().groups[1].placement->supports.size(), 5u);
  const Group& failed = layers.back().groups[2];
  EXPECT_TRUE(!failed.placement || failed.placement->supports.empty());
}

TEST_F(GroupHandlerTest, TakesBackTheFirstPassOfAnIslandWhoseSecondPassFails) {
  layers.clear();
  segment(emptyPicture(100, 100));
  Picture layer = emptyPicture(100, 100);
  std::fill_n(layer.pixels.data(), layer.pixels.size(), materialPixel());
  segment(layer);
  settings.numberOfSamplePerSupport = 1e6f;
  settings.supportStrength = 10000.0f;
  settings.maxSupportRadiusInIsland = 0.01f;  // thousands of supports in the second pass
  EXPECT_EQ(failuresWithoutBlocksOf(150000), 1u);
  EXPECT_EQ(placed, 0u);
  const Group& island = layers.back().groups[1];
  ASSERT_NE(island.placement, nullptr);
  ASSERT_NE(island.placement->samples, nullptr) << "the first pass came to its end";
  EXPECT_TRUE(island.placement->supports.empty());
}

}  // namespace
}  // namespace stiltforge
