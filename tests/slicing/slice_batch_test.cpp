#include <gtest/gtest.h>

#include <algorithm>
#include <new>
#include <random>
#include <string>

#include "core/failing_allocation.h"
#include "runtime/worker_pool.h"
#include "slicing/mask_slicer.h"
#include "slicing/painted_slice.h"
#include "slicing/shapes.h"
#include "slicing/slicer.h"
#include "slicing/slicing_error.h"

namespace stiltforge::slicing {
namespace {

// Balls that lean on each other, one of them broken, and a table: thin and wide overhangs, open
// contours and islands.
const Soup scene =
    joined({ball({0, 0, 3}, 3, 24, 12), withoutTriangle(ball({2, 1, 5}, 2.5f, 9, 7), 4),
            box({-4, -4, 6.3f}, {6, 5, 7}), ball({-2, -3, 2}, 1, 8, 5)});

SlicerSettings sceneSettings() {
  SlicerSettings settings = unitSettings(250);
  settings.screen.pixelSize = 0.1;
  settings.screen.margin = 2;
  settings.channels.layerHeight = 0.15;
  settings.channels.fullOverhang = 1;
  return settings;
}

// What the pictures of the layers show.
std::vector<Slice> paintedSlices(const Soup& soup, const SlicerSettings& settings) {
  Slicer slicer(soup, settings);
  std::vector<Slice> slices;
  for (uint32_t i = 0; i < slicer.layerCount(); ++i) {
    slices.push_back(sliceOf(sliceBytes(slicer, i), slicer.placement().width));
  }
  return slices;
}

TEST(SliceBatch, HoldsWhatThePicturesOfTheMeshShow) {
  const std::vector<Slice> expected = paintedSlices(scene, sceneSettings());
  Slicer slicer(scene, sceneSettings());
  std::vector<Slice> slices(slicer.layerCount());
  slicer.slice(0, slices);
  expectEqual(slices, expected);
}

TEST(SliceBatch, HoldsTheSameForAnyNumberOfWorkersAndLayers) {
  const std::vector<Slice> expected = paintedSlices(scene, sceneSettings());
  const int workersBefore = workers::count();
  for (const int workerCount : {1, 2, 5}) {
    workers::setCount(workerCount);
    for (const std::size_t batch : {1, 3, 16}) {
      Slicer slicer(scene, sceneSettings());
      std::vector<Slice> slices(batch);
      for (uint32_t first = 0; first < slicer.layerCount(); first += batch) {
        const std::size_t count = std::min(batch, std::size_t{slicer.layerCount() - first});
        slicer.slice(first, std::span(slices).first(count));
        expectEqual(std::span(slices).first(count), std::span(expected).subspan(first, count));
      }
    }
  }
  workers::setCount(workersBefore);
}

TEST(SliceBatch, HoldsTheSameInAnyOrderAndBetweenPictures) {
  const std::vector<Slice> expected = paintedSlices(scene, sceneSettings());
  Slicer slicer(scene, sceneSettings());
  std::mt19937 random(31);
  for (int i = 0; i < 200; ++i) {
    const uint32_t first = random() % slicer.layerCount();
    std::vector<Slice> slices(std::min<uint32_t>(random() % 4, slicer.layerCount() - first));
    slicer.slice(first, slices);
    expectEqual(slices, std::span(expected).subspan(first, slices.size()));
    const uint32_t next =
        std::min(first + static_cast<uint32_t>(slices.size()), slicer.layerCount() - 1);
    if (random() % 2 == 0) {
      expectEqual(sliceOf(sliceBytes(slicer, next), slicer.placement().width), expected[next]);
    }
    if (HasFailure()) FAIL() << "batch " << i;
  }
}

TEST(SliceBatch, KnowsTheHeightOfALayer) {
  const Slicer slicer(box({0, 0, 7}, {4, 2, 9}), unitSettings(20));
  EXPECT_EQ(slicer.heightOf(0), 0.5);
  EXPECT_EQ(slicer.heightOf(1), 1.5);
}

TEST(SliceBatch, RefusesLayersThatAreNotThere) {
  Slicer slicer(box({0, 0, 0}, {4, 2, 9}), unitSettings(20));
  std::vector<Slice> slices(2);
  EXPECT_NO_THROW(slicer.slice(7, slices));
  try {
    slicer.slice(8, slices);
    FAIL() << "there are nine layers";
  } catch (const SlicingError& error) {
    EXPECT_EQ(std::string(error.what()), "There is no layer 9: the model has 9, counted from 0.");
  }
  EXPECT_THROW(slicer.slice(9, {}), SlicingError);
}

TEST(SliceBatch, ABatchThatRanOutOfMemoryCanBeMadeAgain) {
  const std::vector<Slice> expected = paintedSlices(scene, sceneSettings());
  for (const std::size_t bytes : {64, 512, 4096}) {
    Slicer slicer(scene, sceneSettings());
    std::vector<Slice> slices(20);
    slicer.slice(10, slices);
    {
      const FailingAllocation failing(bytes);
      EXPECT_THROW(slicer.slice(30, slices), std::bad_alloc) << bytes;
    }
    slicer.slice(30, slices);
    expectEqual(slices, std::span(expected).subspan(30, 20));
  }
}

TEST(SliceBatch, NeedsNoMemoryForTheScreensPixels) {
  SlicerSettings settings = unitSettings(16000);
  settings.screen.pixelSize = 0.005;
  settings.channels.layerHeight = 0.05;
  Slicer slicer(joined({box({0, 0, 0}, {65, 65, 1}), box({20, 64, 0.5f}, {21, 65.5f, 1})}),
                settings);
  std::vector<Slice> slices(slicer.layerCount());
  {
    const FailingAllocation failing(1 << 20);
    slicer.slice(0, slices);
  }
  EXPECT_EQ(slices[0].width, 13000);
  EXPECT_EQ(slices[0].material.pixelCount(), 13000u * 13000u);
  EXPECT_FALSE(slices[10].overhang.empty());
}

MaskSettings maskSettingsOf(uint32_t width, uint32_t height) {
  MaskSettings settings;
  settings.maskWidth = settings.width = width;
  settings.maskHeight = settings.height = height;
  settings.channels.layerHeight = 1;
  settings.channels.pixelSize = 1;
  settings.channels.fullOverhang = 7;
  settings.channels.inset = 3;
  return settings;
}

std::vector<std::vector<uint8_t>> randomMasks(std::size_t count, std::size_t width,
                                              std::size_t height) {
  std::mt19937 random(32);
  std::vector<std::vector<uint8_t>> masks(count, std::vector<uint8_t>(width * height));
  for (std::vector<uint8_t>& mask : masks) {
    for (uint8_t& grey : mask) grey = random() % 10 < 8 ? 255 : 0;
  }
  return masks;
}

TEST(SliceBatch, HoldsWhatThePicturesOfMasksShow) {
  const std::vector<std::vector<uint8_t>> masks = randomMasks(40, 30, 20);
  MaskSlicer painter(maskSettingsOf(30, 20));
  MaskSlicer slicer(maskSettingsOf(30, 20));
  std::size_t done = 0;
  for (std::size_t batch = 0; done < masks.size(); batch = (batch + 1) % 6) {
    const std::size_t count = std::min(batch, masks.size() - done);
    const std::vector<std::span<const uint8_t>> next(
        masks.begin() + static_cast<std::ptrdiff_t>(done),
        masks.begin() + static_cast<std::ptrdiff_t>(done + count));
    std::vector<Slice> slices(count);
    slicer.next(next, slices);
    for (std::size_t i = 0; i < count; ++i) {
      std::vector<uint8_t> rgba(painter.maskBytes() * 4);
      painter.next(next[i], rgba.data());
      expectEqual(slices[i], sliceOf(rgba, 30));
    }
    done += count;
  }
}

TEST(SliceBatch, TakesTurnsWithPicturesOfMasks) {
  const std::vector<std::vector<uint8_t>> masks = randomMasks(3, 30, 20);
  MaskSlicer painter(maskSettingsOf(30, 20));
  MaskSlicer mixed(maskSettingsOf(30, 20));
  std::vector<uint8_t> rgba(painter.maskBytes() * 4);
  for (const std::vector<uint8_t>& mask : masks) painter.next(mask, rgba.data());
  std::vector<uint8_t> other(rgba.size());
  mixed.next(masks[0], other.data());
  std::vector<Slice> slices(1);
  mixed.next(std::vector<std::span<const uint8_t>>{masks[1]}, slices);
  EXPECT_EQ(mixed.next(masks[2], other.data()).z, 2.5);
  EXPECT_EQ(other, rgba);
}

TEST(SliceBatch, ABatchOfMasksThatFailedCanBeMadeAgain) {
  const std::vector<std::vector<uint8_t>> masks = randomMasks(6, 30, 20);
  const std::vector<std::span<const uint8_t>> all(masks.begin(), masks.end());
  std::vector<Slice> expected(6);
  MaskSlicer(maskSettingsOf(30, 20)).next(all, expected);

  MaskSlicer slicer(maskSettingsOf(30, 20));
  std::vector<Slice> slices(6);
  slicer.next(std::span(all).first(2), std::span(slices).first(2));
  const std::span<Slice> rest = std::span(slices).subspan(2);
  {
    const FailingAllocation failing(256);
    EXPECT_THROW(slicer.next(std::span(all).subspan(2), rest), std::bad_alloc);
  }
  const std::vector<std::span<const uint8_t>> tooSmall(4, std::span(masks[0]).first(5));
  EXPECT_THROW(slicer.next(tooSmall, rest), SlicingError);
  EXPECT_THROW(slicer.next(all, rest), SlicingError);
  slicer.next(std::span(all).subspan(2), rest);
  expectEqual(slices, expected);
}

}  // namespace
}  // namespace stiltforge::slicing
