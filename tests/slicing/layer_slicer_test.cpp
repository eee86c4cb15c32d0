#include "slicing/layer_slicer.h"

#include <gtest/gtest.h>

#include <random>
#include <stdexcept>
#include <vector>

#include "analysis/mask_runs.h"
#include "slicing/mask_slicer.h"
#include "slicing/slicing_error.h"

namespace stiltforge::slicing {
namespace {

constexpr uint32_t width = 61;
constexpr uint32_t height = 40;
constexpr uint32_t layerCount = 9;

using Mask = std::vector<uint8_t>;

/// Blocks that grow, shrink and move from layer to layer.
std::vector<Mask> masks() {
  std::mt19937 random(3);
  std::vector<Mask> layers;
  for (uint32_t layer = 0; layer < layerCount; ++layer) {
    Mask mask(width * height, 0);
    for (int block = 0; block < 4; ++block) {
      const uint32_t left = random() % 40;
      const uint32_t top = random() % 20;
      for (uint32_t y = top; y < top + 15; ++y) {
        for (uint32_t x = left; x < left + 18; ++x) mask[y * width + x] = 255;
      }
    }
    layers.push_back(mask);
  }
  return layers;
}

LayerSettings settings() {
  LayerSettings settings;
  settings.layerCount = layerCount;
  settings.layerWidth = settings.width = width;
  settings.layerHeight = settings.height = height;
  settings.channels.layerHeight = 0.05;
  settings.channels.pixelSize = 0.05;
  return settings;
}

LayerSlicer slicerOf(const std::vector<Mask>& layers) {
  return {settings(), [&](uint32_t layer, Slice& slice) {
            findMaskRuns(layers[layer].data(), width, width, height, 128, slice.material);
          }};
}

/// The slices that the masks give one after the other.
std::vector<Slice> expectedOf(const std::vector<Mask>& layers) {
  MaskSettings maskSettings;
  maskSettings.maskWidth = maskSettings.width = width;
  maskSettings.maskHeight = maskSettings.height = height;
  maskSettings.channels = settings().channels;
  MaskSlicer slicer(maskSettings);
  std::vector<std::span<const uint8_t>> spans(layers.begin(), layers.end());
  std::vector<Slice> slices(layers.size());
  slicer.next(spans, slices);
  return slices;
}

void expectEqual(const Slice& slice, const Slice& expected) {
  EXPECT_EQ(slice.width, expected.width);
  EXPECT_EQ(slice.height, expected.height);
  EXPECT_EQ(slice.material, expected.material);
  EXPECT_EQ(slice.overhang, expected.overhang);
  EXPECT_EQ(slice.blue, expected.blue);
  EXPECT_EQ(slice.green, expected.green);
}

TEST(LayerSlicer, GivesTheSlicesOfTheSameMasksInAnyOrder) {
  const std::vector<Mask> layers = masks();
  const std::vector<Slice> expected = expectedOf(layers);
  LayerSlicer slicer = slicerOf(layers);
  for (const auto& [first, count] : {std::pair{0u, 3u}, {3u, 4u}, {7u, 2u}, {4u, 1u}, {0u, 9u}}) {
    std::vector<Slice> slices(count);
    slicer.slice(first, slices);
    for (uint32_t i = 0; i < count; ++i) expectEqual(slices[i], expected[first + i]);
  }
}

TEST(LayerSlicer, PaintsTheSamePixelsAsTheMasksDo) {
  const std::vector<Mask> layers = masks();
  LayerSlicer slicer = slicerOf(layers);
  MaskSettings maskSettings;
  maskSettings.maskWidth = maskSettings.width = width;
  maskSettings.maskHeight = maskSettings.height = height;
  maskSettings.channels = settings().channels;
  MaskSlicer maskSlicer(maskSettings);
  std::vector<uint8_t> expected(4 * width * height);
  std::vector<uint8_t> pixels(4 * width * height);
  for (uint32_t layer = 0; layer < layerCount; ++layer) {
    const SliceInfo wanted = maskSlicer.next(layers[layer], expected.data());
    const SliceInfo info = slicer.slice(layer, pixels.data());
    EXPECT_EQ(pixels, expected);
    EXPECT_EQ(info.materialPixels, wanted.materialPixels);
    EXPECT_EQ(info.z, wanted.z);
  }
}

TEST(LayerSlicer, KeepsTheChannelsThatTheLayersBring) {
  LayerSettings own = settings();
  own.haveChannels = true;
  LayerSlicer slicer(own, [](uint32_t layer, Slice& slice) {
    for (uint32_t y = 0; y < height; ++y) {
      if (y == layer) slice.material.add(2, 6);
      slice.material.endRow();
      if (y == layer) slice.overhang.add(3, 5);
      slice.overhang.endRow();
    }
    slice.blue = {7, 8};
    slice.green = {9, 10};
  });
  std::vector<Slice> slices(2);
  slicer.slice(4, slices);
  EXPECT_EQ(slices[1].overhang.row(5).front().begin, 3);
  EXPECT_EQ(slices[1].blue.back(), 8);
  std::vector<uint8_t> pixels(4 * width * height);
  EXPECT_EQ(slicer.slice(1, pixels.data()).materialPixels, 4u);
  const auto pixelAt = [&](uint32_t x) {
    const uint8_t* const pixel = &pixels[4 * (width + x)];
    return std::vector<int>(pixel, pixel + 4);
  };
  EXPECT_EQ(pixelAt(1), (std::vector{0, 0, 0, 255}));
  EXPECT_EQ(pixelAt(2), (std::vector{255, 0, 255, 255}));
  EXPECT_EQ(pixelAt(4), (std::vector{255, 10, 8, 255}));
}

TEST(LayerSlicer, ShowsThePartOfTheLayersThatIsAskedFor) {
  LayerSettings part = settings();
  part.haveChannels = true;
  part.cropX = 2;
  part.cropY = 3;
  part.width = 4;
  part.height = 2;
  LayerSlicer slicer(part, [](uint32_t, Slice& slice) {
    for (uint32_t y = 0; y < height; ++y) {
      slice.material.add(0, 5);
      slice.material.endRow();
      slice.overhang.add(1, 4);
      slice.overhang.endRow();
      for (uint32_t x = 1; x < 4; ++x) {
        slice.blue.push_back(static_cast<uint8_t>(10 * y + x));
        slice.green.push_back(static_cast<uint8_t>(y));
      }
    }
  });
  std::vector<Slice> slices(1);
  slicer.slice(0, slices);
  EXPECT_EQ(slices[0].width, 4);
  EXPECT_EQ(slices[0].height, 2);
  EXPECT_EQ(slices[0].material.height(), 2);
  EXPECT_EQ(slices[0].material.row(1).front(), (stiltforge::Run{0, 3}));
  EXPECT_EQ(slices[0].overhang.row(0).front(), (stiltforge::Run{0, 2}));
  EXPECT_EQ(slices[0].blue, (ScratchVector<uint8_t>{32, 33, 42, 43}));
  EXPECT_EQ(slices[0].green, (ScratchVector<uint8_t>{3, 3, 4, 4}));
}

TEST(LayerSlicer, ALayerThatCannotBeReadEndsTheCallAndNoMore) {
  const std::vector<Mask> layers = masks();
  const std::vector<Slice> expected = expectedOf(layers);
  bool isBroken = true;
  LayerSlicer slicer(settings(), [&](uint32_t layer, Slice& slice) {
    if (isBroken && layer == 2) throw std::runtime_error("layer 2 is damaged");
    findMaskRuns(layers[layer].data(), width, width, height, 128, slice.material);
  });
  std::vector<Slice> slices(3);
  EXPECT_THROW(slicer.slice(1, slices), std::runtime_error);
  EXPECT_THROW(slicer.slice(3, slices), std::runtime_error);
  isBroken = false;
  slicer.slice(1, slices);
  for (uint32_t i = 0; i < 3; ++i) expectEqual(slices[i], expected[1 + i]);
}

TEST(LayerSlicer, RefusesSettingsThatMakeNoSlices) {
  LayerSettings none = settings();
  none.layerWidth = none.width = 0;
  EXPECT_THROW(LayerSlicer(none, {}), SlicingError);
  LayerSettings wide = settings();
  wide.cropX = 1;
  EXPECT_THROW(LayerSlicer(wide, {}), SlicingError);
  LayerSettings flat = settings();
  flat.channels.layerHeight = 0;
  EXPECT_THROW(LayerSlicer(flat, {}), SlicingError);
}

}  // namespace
}  // namespace stiltforge::slicing
