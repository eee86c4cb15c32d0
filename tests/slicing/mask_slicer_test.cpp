#include "slicing/mask_slicer.h"

#include <gtest/gtest.h>

#include <new>
#include <random>

#include "analysis/mask_runs.h"
#include "core/failing_allocation.h"
#include "slicing/shapes.h"
#include "slicing/slicer.h"
#include "slicing/slicing_error.h"

namespace stiltforge::slicing {
namespace {

MaskSettings settingsOf(uint32_t width, uint32_t height) {
  MaskSettings settings;
  settings.maskWidth = settings.width = width;
  settings.maskHeight = settings.height = height;
  settings.channels.layerHeight = 1;
  settings.channels.pixelSize = 1;
  return settings;
}

std::vector<bool> columnsOf(std::span<const Run> row, std::size_t width) {
  std::vector<bool> covered(width, false);
  for (const Run& run : row) {
    for (int x = run.begin; x < run.end; ++x) covered[static_cast<std::size_t>(x)] = true;
  }
  return covered;
}

TEST(MaskSlicer, CutsSoftEdgesAtTheThreshold) {
  MaskSlicer slicer(settingsOf(4, 1));
  const std::vector<uint8_t> mask{0, 127, 128, 255};
  std::vector<uint8_t> rgba(16);
  EXPECT_EQ(slicer.next(mask, rgba.data()).materialPixels, 2u);
  EXPECT_EQ(picture(rgba, 4), std::vector<std::string>{"..##"});
}

TEST(MaskSlicer, ShowsTheCropOnly) {
  MaskSettings settings = settingsOf(4, 3);
  settings.cropX = 1;
  settings.cropY = 1;
  settings.width = 2;
  settings.height = 2;
  MaskSlicer slicer(settings);
  const std::vector<uint8_t> mask{255, 255, 255, 255, 255, 255, 0, 255, 255, 0, 255, 255};
  std::vector<uint8_t> rgba(16);
  slicer.next(mask, rgba.data());
  EXPECT_EQ(picture(rgba, 2), (std::vector<std::string>{"#.", ".#"}));
}

TEST(MaskSlicer, CountsHeightsFromThePlate) {
  MaskSlicer slicer(settingsOf(1, 1));
  const std::vector<uint8_t> mask{255};
  uint8_t rgba[4];
  EXPECT_EQ(slicer.next(mask, rgba).z, 0.5);
  EXPECT_EQ(slicer.next(mask, rgba).z, 1.5);
}

TEST(MaskSlicer, MakesTheSlicesThatTheMeshOfTheMaskHas) {
  SlicerSettings settings = unitSettings(60);
  settings.channels.inset = 4;
  Slicer slicer(ball({0, 0, 20}, 20, 32, 16), settings);
  const ScreenPlacement& placement = slicer.placement();
  MaskSettings maskSettings =
      settingsOf(static_cast<uint32_t>(placement.width), static_cast<uint32_t>(placement.height));
  maskSettings.channels.inset = 4;
  MaskSlicer maskSlicer(maskSettings);
  std::vector<uint8_t> filled(maskSlicer.maskBytes() * 4);
  for (uint32_t layer = 0; layer < slicer.layerCount(); ++layer) {
    const std::vector<uint8_t> rgba = sliceBytes(slicer, layer);
    std::vector<uint8_t> mask;
    for (std::size_t i = 0; i < rgba.size(); i += 4) mask.push_back(rgba[i]);
    maskSlicer.next(mask, filled.data());
    EXPECT_EQ(filled, rgba) << "layer " << layer;
  }
}

TEST(MaskSlicer, FindsTheSameRunsAsPixelByPixel) {
  std::mt19937 random(17);
  const uint8_t greys[] = {0, 0, 0, 0, 0, 0, 0, 255, 255, 255, 255, 255, 255, 99, 100, 101};
  for (const uint8_t threshold : {1, 100, 255}) {
    std::vector<uint8_t> mask;
    while (mask.size() < 70 * 40) mask.insert(mask.end(), random() % 20, greys[random() % 16]);
    mask.resize(70 * 40);
    RunRows runs;
    findMaskRuns(mask.data(), 70, 67, 40, threshold, runs);
    for (int y = 0; y < 40; ++y) {
      const std::vector<bool> covered = columnsOf(runs.row(y), 67);
      for (std::size_t x = 0; x < 67; ++x) {
        EXPECT_EQ(covered[x], mask[static_cast<std::size_t>(y) * 70 + x] >= threshold);
      }
    }
  }
}

TEST(MaskSlicer, ALayerThatRanOutOfMemoryCanBeMadeAgain) {
  // A block in the middle of the plate, and over all of it a comb that mostly hangs in the air.
  const uint32_t side = 64;
  std::vector<uint8_t> block(std::size_t{side} * side);
  std::vector<uint8_t> comb(std::size_t{side} * side);
  for (uint32_t y = 0; y < side; ++y) {
    for (uint32_t x = 0; x < side; ++x) {
      block[y * side + x] = x / 16 == 1 && y / 16 == 1 ? 255 : 0;
      comb[y * side + x] = x % 4 != 0 ? 255 : 0;
    }
  }
  MaskSettings settings = settingsOf(side, side);
  settings.channels.fullOverhang = 40;
  std::vector<uint8_t> expected(std::size_t{side} * side * 4);
  MaskSlicer undisturbed(settings);
  undisturbed.next(block, expected.data());
  const SliceInfo expectedInfo = undisturbed.next(comb, expected.data());

  // The smaller the blocks that fail, the earlier in the layer they do. From 8 KiB on they may be
  // kept ones, which no one asks the system for.
  for (const std::size_t bytes : {256, 1024, 4096}) {
    std::vector<uint8_t> rgba(expected.size());
    MaskSlicer slicer(settings);
    slicer.next(block, rgba.data());
    {
      const FailingAllocation failing(bytes);
      EXPECT_THROW(slicer.next(comb, rgba.data()), std::bad_alloc) << bytes;
    }
    const SliceInfo info = slicer.next(comb, rgba.data());
    EXPECT_EQ(info.z, expectedInfo.z);
    EXPECT_EQ(rgba, expected) << bytes;
  }
}

TEST(MaskSlicer, RefusesACropOutsideTheMaskAndMasksOfAnotherSize) {
  MaskSettings settings = settingsOf(10, 10);
  settings.cropX = 1;
  EXPECT_THROW(MaskSlicer{settings}, SlicingError);
  settings = settingsOf(10, 10);
  settings.cropY = 0xFFFFFFFF;
  EXPECT_THROW(MaskSlicer{settings}, SlicingError);
  settings = settingsOf(10, 10);
  settings.threshold = 0;
  EXPECT_THROW(MaskSlicer{settings}, SlicingError);
  EXPECT_THROW(MaskSlicer{settingsOf(0, 10)}, SlicingError);
  EXPECT_THROW(MaskSlicer{settingsOf(65536, 10)}, SlicingError);

  MaskSlicer slicer(settingsOf(2, 2));
  uint8_t rgba[16];
  EXPECT_THROW(slicer.next(std::vector<uint8_t>(3), rgba), SlicingError);
}

}  // namespace
}  // namespace stiltforge::slicing
