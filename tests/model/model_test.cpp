#include "model/model.h"

#include <gtest/gtest.h>

#include <atomic>
#include <new>
#include <stdexcept>
#include <thread>

#include "core/failing_allocation.h"
#include "core/stage_test.h"
#include "reference/stack_generator.h"

namespace stiltforge {
namespace {

TEST_F(ModelTest, PlacesNothingOnTheFirstSlice) {
  analyse(filledBox(20, 20));
  EXPECT_EQ(placed, 0u);
  EXPECT_EQ(layers()[0].groups[1].pixelStrength, 1.0f);
  EXPECT_EQ(layers()[0].groupPlacement(1), nullptr);
}

TEST_F(ModelTest, HoldsAnIslandAndCarriesItsSupportsUp) {
  analyse(emptyPicture(20, 20));
  analyse(filledBox(20, 20));
  EXPECT_EQ(placed, 20u);
  analyse(filledBox(20, 20));
  EXPECT_EQ(layers()[2].groups[1].placement->ghostSupports.size(), 20u);
  EXPECT_EQ(layers()[2].groups[1].placement->ghostSupports[0],
            &layers()[1].groupPlacement(1)->supports[0]);
}

TEST_F(ModelTest, KeepsTheHistoryWhenASliceDoesNotFit) {
  analyse({"##"});
  EXPECT_THROW(analyse({"##", "##"}), std::out_of_range);
  EXPECT_EQ(layers().size(), 1u);
  EXPECT_EQ(analyse({"##"}).groups[1].supportedPixel, 2u);
}

TEST_F(ModelTest, PlacesNothingWithoutTheSupportPass) {
  analyse(emptyPicture(20, 20));
  Model::SliceOptions options;
  options.addSupport = false;
  analyse(draw(filledBox(20, 20)), options);
  EXPECT_EQ(placed, 0u);
  EXPECT_EQ(layers()[1].groups[1].pixelStrength, 0.0f);
}

TEST_F(ModelTest, StopsBetweenStagesWhenCancelled) {
  analyse({"##"});
  const std::atomic<bool> cancelled{true};
  Model::SliceOptions options;
  options.cancelled = &cancelled;
  EXPECT_THROW(analyse(draw({"##"}), options), AnalysisCancelled);
  EXPECT_EQ(layers().size(), 1u);
  EXPECT_EQ(analyse({"##"}).groups[1].islandDistance, 1u) << "the next slice follows as usual";
}

TEST_F(ModelTest, LeavesNoMarkersOfASliceThatDoesNotFit) {
  Picture picture = draw({"##"});
  Pixels pixels(picture);
  const SliceBuffers buffers = pixels.buffers();
  Model::SliceOptions options;
  options.buffers = &buffers;
  analyse(picture, options);
  EXPECT_THROW(analyse({"##", "##"}), std::out_of_range);
  picture = draw({".#"});
  analyse(picture, options);
  EXPECT_EQ(pixels.markers, (std::vector<uint32_t>{0xFE000000, 0xFE000001}));
}

TEST_F(ModelTest, TakesOtherSettingsBetweenSlices) {
  analyse(emptyPicture(20, 20));
  settings.supportStrength = 400;
  analyse(filledBox(20, 20));
  EXPECT_EQ(placed, 1u);
  settings.supportStrength = 20;
  settings.ghostRadius = 3;
  analyse(emptyPicture(20, 20));
  analyse(filledBox(20, 20));
  EXPECT_EQ(placed, 20u);
}

TEST_F(ModelTest, RefusesAGhostRadiusWithoutATable) {
  EXPECT_THROW(model.prepareGhostSpread(4097), std::length_error);
  settings.ghostRadius = 4097;
  EXPECT_THROW(analyse({"##"}), std::length_error);
  EXPECT_EQ(layers().size(), 0u);
  settings.ghostRadius = 60;
  EXPECT_EQ(analyse({"##"}).groupCount, 1u);
}

TEST_F(ModelTest, MayBeStartedAnewAndCleared) {
  analyse({"##"});
  model.start(6);
  EXPECT_EQ(layers().size(), 0u);
  EXPECT_EQ(model.analyse(sliceOf(draw({"###", "###"})), {}), 0u);
  EXPECT_FALSE(model.isCleared());
  model.clear();
  EXPECT_TRUE(model.isCleared());
  ASSERT_EQ(layers().size(), 1u);
  EXPECT_EQ(layers()[0].groupEntries(), 0u);
  model.start(6);
  EXPECT_FALSE(model.isCleared());
}

TEST_F(ModelTest, ArchivesTheLayersThatAFailedSliceLeftBehind) {
  settings.maxGhost = 20000;
  analyse(emptyPicture(100, 100));
  settings.supportStrength = 4;
  analyse(filledBox(100, 100));
  ASSERT_GT(placed, 2000u);
  {
    Slice slice = sliceOf(draw(filledBox(100, 100)));
    const FailingAllocation noListOfAllGhosts(16000);
    EXPECT_THROW(model.analyse(std::move(slice), {}), std::bad_alloc);
  }
  ASSERT_EQ(layers().size(), 3u) << "it failed within the history";
  EXPECT_FALSE(layers()[1].isArchived());
  analyse(filledBox(100, 100), 255);
  EXPECT_TRUE(layers()[1].isArchived());
  EXPECT_TRUE(layers()[2].isArchived());
  EXPECT_FALSE(layers()[3].isArchived());
}

// Models share nothing but the worker pool: what one gives does not depend on the others.
TEST(Models, GiveTheSameResultsSideBySideOnSeveralThreads) {
  constexpr uint64_t threadCount = 4;
  constexpr uint64_t stacksPerThread = 60;
  std::vector<std::string> differences(threadCount);
  std::vector<std::thread> threads;
  for (uint64_t t = 0; t < threadCount; ++t) {
    threads.emplace_back([t, &differences] {
      for (uint64_t n = 0; n < stacksPerThread && differences[t].empty(); ++n) {
        const reference::Stack stack = reference::generateStack(30000 + t * stacksPerThread + n);
        differences[t] = firstDifference(analyseWithCore(stack), reference::analyseStack(stack));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(differences, std::vector<std::string>(threadCount));
}

TEST(Models, MayTakeTheirSlicesInTurns) {
  const reference::Stack stack = reference::generateStack(7);
  const ModelParameters parameters = parametersOf(stack);
  const std::size_t pixels = std::size_t{stack.width} * stack.height;
  Model one(parameters.settings, pixels);
  Model other(parameters.settings, pixels);
  for (const std::vector<uint8_t>& slice : stack.slices) {
    const uint32_t placed = one.analyse(sliceOfPixels(slice.data(), stack.width, stack.height), {});
    EXPECT_EQ(other.analyse(sliceOfPixels(slice.data(), stack.width, stack.height), {}), placed);
  }
}

// Without buffers a slice takes other paths, to the same groups, supports and images.
TEST_F(ModelTest, PlacesTheSameSupportsWhetherBuffersAreWantedOrNot) {
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
    analyse(emptyPicture(30, 20));
    analyse(twoBlocks(), 20, 40);
    ASSERT_GT(placed, 2u);
  }
  static Rows twoBlocks() {
    Rows rows = filledBox(30, 20);
    for (std::string& row : rows) row[14] = row[15] = '.';
    return rows;
  }
  std::vector<std::vector<std::vector<uint8_t>>> imagesOf(std::size_t layer) {
    std::vector<std::vector<std::vector<uint8_t>>> all;
    for (std::size_t id = 0; id < layers()[layer].groupEntries(); ++id) {
      GroupImages images = model.renderGroup(layer, id);
      all.emplace_back(images.images.begin(), images.images.end());
    }
    return all;
  }
};

TEST_F(LayerArchive, HoldsNothingPerPixel) {
  analyse(twoBlocks());
  const Layer& archived = layers()[1];
  EXPECT_EQ(archived.material.height(), 0);
  EXPECT_EQ(archived.overhang.height(), 0);
  EXPECT_EQ(archived.blue.capacity(), 0u);
  EXPECT_EQ(archived.green.capacity(), 0u);
  EXPECT_EQ(archived.groupOfRun.capacity(), 0u);
  EXPECT_EQ(archived.overlaps.capacity(), 0u);
  EXPECT_EQ(archived.groups.capacity(), 0u);
  EXPECT_EQ(layers()[2].blue.capacity(), 0u) << "no later step reads it";
  EXPECT_EQ(layers()[2].material.height(), 20) << "the next layer rests on it";
}

TEST_F(LayerArchive, LeavesSupportsWhereTheyAre) {
  const Voxel* const first = &layers()[1].groups[1].placement->supports[0];
  const uint16_t x = first->x;
  for (int n = 0; n < 40; ++n) analyse(twoBlocks());
  EXPECT_EQ(&layers()[1].groupPlacement(1)->supports[0], first);
  EXPECT_EQ(first->x, x);
  EXPECT_EQ(layers().back().groupPlacement(1)->ghostSupports.at(0), first);
}

TEST_F(LayerArchive, KeepsGroupNumbersBoxesAndSupports) {
  const Box box = layers()[1].groupBox(2);
  const std::size_t supports = layers()[1].groupPlacement(2)->supports.size();
  analyse(twoBlocks());
  EXPECT_EQ(layers()[1].groupEntries(), 3u);
  EXPECT_EQ(layers()[1].groupBox(2).xMin, box.xMin);
  EXPECT_EQ(layers()[1].groupBox(2).yMax, box.yMax);
  EXPECT_EQ(layers()[1].groupPlacement(2)->supports.size(), supports);
  EXPECT_EQ(layers()[1].groupPlacement(0), nullptr);
}

TEST_F(LayerArchive, RendersTheSameImagesAsBefore) {
  for (int n = 0; n < 4; ++n) {
    const std::size_t index = layers().size() - 1;
    const auto before = imagesOf(index);
    analyse(twoBlocks(), 30, static_cast<uint8_t>(n));
    ASSERT_EQ(imagesOf(index), before);
  }
}

TEST_F(LayerArchive, OfALayerWithoutSupportsHoldsNoPlacement) {
  analyse(twoBlocks(), 255);
  analyse(twoBlocks(), 255);
  EXPECT_EQ(layers()[2].groupPlacement(1), nullptr) << "ghosts alone are not kept";
}

}  // namespace
}  // namespace stiltforge
