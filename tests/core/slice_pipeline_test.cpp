#include "support/slice_pipeline.h"

#include <gtest/gtest.h>

#include <atomic>
#include <iostream>
#include <new>
#include <sstream>

#include "analysis/support_inheritance.h"
#include "core/failing_allocation.h"
#include "core/stage_test.h"
#include "reference/stack_generator.h"
#include "support/group_images.h"

namespace stiltforge {
namespace {

class SlicePipelineTest : public ModelTest {};

TEST_F(SlicePipelineTest, PlacesNothingOnTheFirstSlice) {
  analyse(filledBox(20, 20));
  EXPECT_EQ(placed, 0u);
  EXPECT_EQ(layers[0].groups[1].pixelStrength, 1.0f);
  EXPECT_EQ(layers[0].groupPlacement(1), nullptr);
}

TEST_F(SlicePipelineTest, HoldsAnIslandAndCarriesItsSupportsUp) {
  analyse(emptyLayer(20, 20));
  analyse(filledBox(20, 20));
  EXPECT_EQ(placed, 20u);
  analyse(filledBox(20, 20));
  EXPECT_EQ(layers[2].groups[1].placement->ghostSupports.size(), 20u);
  EXPECT_EQ(layers[2].groups[1].placement->ghostSupports[0],
            &layers[1].groupPlacement(1)->supports[0]);
}

TEST_F(SlicePipelineTest, PlacesNothingWithoutTheSupportPass) {
  analyse(emptyLayer(20, 20));
  Layer slice = draw(filledBox(20, 20));
  SlicePipeline pipeline;
  pipeline.layers = &layers;
  pipeline.historyMutex = &historyMutex;
  pipeline.topPixelBuffer = &top;
  pipeline.topPixelCount = top.size();
  pipeline.addSupport = false;
  EXPECT_EQ(pipeline.run(std::move(slice)), 0u);
  EXPECT_EQ(layers[1].groups[1].pixelStrength, 0.0f);
}

TEST_F(SlicePipelineTest, RetiresListedGhosts) {
  Voxel ghost;
  ghost.index = 1;
  SupportInheritance::ghostSupportArray = {&ghost};
  std::ostringstream printed;
  std::streambuf* const usual = std::cout.rdbuf(printed.rdbuf());
  analyse({"#."});
  EXPECT_EQ(printed.str(), "") << "never on the first slice";
  analyse({"#."});
  std::cout.rdbuf(usual);
  EXPECT_EQ(printed.str(), "maxZGhost 1 1\n");
  EXPECT_TRUE(ghost.toDelete);
  SupportInheritance::ghostSupportArray.clear();
  SupportInheritance::deleteGhostIndex.clear();
}

TEST_F(SlicePipelineTest, GivesTheHostsPixelsBackWhenNobodyWantsTheBuffers) {
  needBuffer = false;
  Layer slice = draw({"#.", ".#"});
  const uint32_t* const block = slice.pixelBuffer.data();
  analyse(std::move(slice));
  EXPECT_EQ(spentPixels.data(), block);
  EXPECT_TRUE(layers[0].pixelBuffer.empty());
  EXPECT_TRUE(layers[0].supportedPixels.empty());
  EXPECT_TRUE(layers[0].strokePixels.empty());
}

TEST_F(SlicePipelineTest, NeedsNoMarkersWhenNobodyWantsTheBuffers) {
  SlicePipeline pipeline;
  pipeline.layers = &layers;
  pipeline.historyMutex = &historyMutex;
  pipeline.topPixelCount = 4;
  pipeline.run(draw({"##", "##"}));
  EXPECT_EQ(layers[0].groupCount, 1u);
}

TEST_F(SlicePipelineTest, StopsBetweenStagesWhenCancelled) {
  analyse({"##"});
  std::atomic<bool> cancelled{true};
  SlicePipeline pipeline;
  pipeline.layers = &layers;
  pipeline.historyMutex = &historyMutex;
  pipeline.topPixelCount = 2;
  pipeline.cancelled = &cancelled;
  EXPECT_THROW(pipeline.run(draw({"##"})), AnalysisCancelled);
  EXPECT_EQ(layers.size(), 1u);
  EXPECT_EQ(analyse({"##"}).groups[1].islandDistance, 1u) << "the next slice follows as usual";
}

TEST_F(SlicePipelineTest, KeepsTheHistoryWhenASliceDoesNotFit) {
  analyse({"##"});
  EXPECT_THROW(analyse({"##", "##"}), std::out_of_range);
  EXPECT_EQ(layers.size(), 1u);
  EXPECT_EQ(analyse({"##"}).groups[1].supportedPixel, 2u);
}

TEST_F(SlicePipelineTest, ArchivesTheLayersThatAFailedSliceLeftBehind) {
  SupportInheritance::maxGhost = 20000;
  analyse(filledBox(100, 100));
  layers[0].groups[1].ensurePlacement().supports.resize(10000);
  {
    const FailingAllocation noListOfAllGhosts(60000);
    EXPECT_THROW(analyse(filledBox(100, 100)), std::bad_alloc);
  }
  ASSERT_EQ(layers.size(), 2u) << "it failed within the history";
  EXPECT_FALSE(layers[0].isArchived());
  analyse(filledBox(100, 100));
  EXPECT_TRUE(layers[0].isArchived());
  EXPECT_TRUE(layers[1].isArchived());
  EXPECT_FALSE(layers[2].isArchived());
}

// Without buffers a slice takes other paths, to the same groups, supports and images.
TEST_F(SlicePipelineTest, PlacesTheSameSupportsWhetherBuffersAreWantedOrNot) {
  for (uint64_t seed = 0; seed < 400; ++seed) {
    const reference::Stack stack = reference::generateStack(seed);
    std::vector<reference::SliceResult> wanted = analyseWithCore(stack);
    for (reference::SliceResult& slice : wanted) {
      slice.pixelBuffer.clear();
      slice.topPixelBuffer.clear();
      slice.supportedPixels.clear();
    }
    ASSERT_EQ(firstDifference(analyseWithCore(stack, false), wanted), "") << "seed " << seed;
  }
}

class LayerArchive : public ModelTest {
 protected:
  void SetUp() override {
    ModelTest::SetUp();
    analyse(emptyLayer(30, 20));
    analyse(twoBlocks(), 20, 40);
    ASSERT_GT(placed, 2u);
  }
  static Rows twoBlocks() {
    Rows rows = filledBox(30, 20);
    for (std::string& row : rows) row[14] = row[15] = '.';
    return rows;
  }
  static std::vector<std::vector<std::vector<uint8_t>>> imagesOf(const Layer& layer) {
    std::vector<std::vector<std::vector<uint8_t>>> all;
    for (std::size_t id = 0; id < layer.groupEntries(); ++id) {
      GroupImages images = renderGroup(layer, id);
      all.emplace_back(images.images.begin(), images.images.end());
    }
    return all;
  }
};

TEST_F(LayerArchive, HoldsNothingPerPixel) {
  analyse(twoBlocks());
  const Layer& archived = layers[1];
  EXPECT_TRUE(archived.pixelBuffer.empty());
  EXPECT_TRUE(archived.supportedPixels.empty());
  EXPECT_TRUE(archived.strokePixels.empty());
  EXPECT_EQ(archived.runs.capacity(), 0u);
  EXPECT_EQ(archived.rowRuns.capacity(), 0u);
  EXPECT_EQ(archived.overlaps.capacity(), 0u);
  EXPECT_EQ(archived.groups.capacity(), 0u);
  EXPECT_TRUE(layers[2].strokePixels.empty()) << "no later step reads it";
  EXPECT_FALSE(layers[2].pixelBuffer.empty()) << "the host may still ask for it";
}

TEST_F(LayerArchive, LeavesSupportsWhereTheyAre) {
  const Voxel* const first = &layers[1].groups[1].placement->supports[0];
  const uint16_t x = first->x;
  for (int n = 0; n < 40; ++n) analyse(twoBlocks());
  EXPECT_EQ(&layers[1].groupPlacement(1)->supports[0], first);
  EXPECT_EQ(first->x, x);
  EXPECT_EQ(layers.back().groupPlacement(1)->ghostSupports.at(0), first);
}

TEST_F(LayerArchive, KeepsGroupNumbersBoxesAndSupports) {
  const Box box = layers[1].groupBox(2);
  const std::size_t supports = layers[1].groupPlacement(2)->supports.size();
  analyse(twoBlocks());
  EXPECT_EQ(layers[1].groupEntries(), 3u);
  EXPECT_EQ(layers[1].groupBox(2).xMin, box.xMin);
  EXPECT_EQ(layers[1].groupBox(2).yMax, box.yMax);
  EXPECT_EQ(layers[1].groupPlacement(2)->supports.size(), supports);
  EXPECT_EQ(layers[1].groupPlacement(0), nullptr);
}

TEST_F(LayerArchive, RendersTheSameImagesAsBefore) {
  for (int n = 0; n < 4; ++n) {
    const auto before = imagesOf(layers.back());
    const std::size_t index = layers.size() - 1;
    analyse(twoBlocks(), 30, static_cast<uint8_t>(n));
    ASSERT_EQ(imagesOf(layers[index]), before);
  }
}

TEST_F(LayerArchive, OfALayerWithoutSupportsHoldsNoPlacement) {
  analyse(twoBlocks(), 255);
  analyse(twoBlocks(), 255);
  EXPECT_EQ(layers[2].groupPlacement(1), nullptr) << "ghosts alone are not kept";
}

TEST_F(LayerArchive, MayBeRepeated) {
  analyse(twoBlocks());
  const auto before = imagesOf(layers[1]);
  layers[1].archive();
  EXPECT_EQ(imagesOf(layers[1]), before);
}

}  // namespace
}  // namespace stiltforge
