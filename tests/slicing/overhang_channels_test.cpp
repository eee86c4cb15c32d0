#include "slicing/overhang_channels.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "slicing/mask_pictures.h"
#include "slicing/painted_slice.h"
#include "slicing/plain_channels.h"

namespace stiltforge::slicing {
namespace {

// Pixels of 1 mm; distances in pixels.
ChannelFalloff falloffOf(double reach, double fullOverhang, double inset) {
  ChannelSettings settings;
  settings.pixelSize = 1;
  settings.layerHeight = reach;
  settings.fullOverhang = fullOverhang;
  settings.inset = inset;
  return ChannelFalloff(settings);
}

Slice found(const MaskPicture& material, const MaskPicture& below, const ChannelFalloff& falloff) {
  Slice slice;
  slice.width = static_cast<uint16_t>(material[0].size());
  slice.height = static_cast<uint16_t>(material.size());
  slice.material = runsOf(material);
  const RunRows belowRuns = runsOf(below);
  OverhangChannels(falloff).fill(below.empty() ? nullptr : &belowRuns, slice);
  return slice;
}

void expectPlainChannels(const MaskPicture& material, const MaskPicture& below,
                         const ChannelFalloff& falloff) {
  expectEqual(found(material, below, falloff), sliceOf(plainChannels(material, below, falloff),
                                                       static_cast<int>(material[0].size())));
}

TEST(OverhangChannels, FindsNoOverhangOnThePlate) {
  const Slice slice = found({"###", "#.#"}, {}, falloffOf(1, 5, 5));
  EXPECT_TRUE(slice.overhang.empty());
  EXPECT_EQ(slice.overhang.height(), 2);
  EXPECT_TRUE(slice.blue.empty());
  EXPECT_TRUE(slice.green.empty());
}

TEST(OverhangChannels, HoldsOnlyWhatIsBeyondTheSelfSupportingReach) {
  const Slice slice = found({".######."}, {".##....."}, falloffOf(2, 4, 2));
  ASSERT_EQ(slice.overhang.row(0).size(), 1u);
  EXPECT_EQ(slice.overhang.row(0)[0], (stiltforge::Run{5, 7}));
  EXPECT_EQ(slice.blue, (ScratchVector<uint8_t>{128, 0}));
  EXPECT_EQ(slice.green, (ScratchVector<uint8_t>{255, 255}));
}

TEST(OverhangChannels, ReplacesWhatASliceHeldBefore) {
  const ChannelFalloff falloff = falloffOf(1, 5, 5);
  OverhangChannels channels(falloff);
  const RunRows below = runsOf({"#......"});
  Slice slice;
  slice.material = runsOf({"#######"});
  channels.fill(&below, slice);
  EXPECT_FALSE(slice.blue.empty());
  channels.fill(nullptr, slice);
  EXPECT_TRUE(slice.overhang.empty());
  EXPECT_TRUE(slice.blue.empty());
  EXPECT_TRUE(slice.green.empty());
}

TEST(OverhangChannels, AgreesWithAllPairsOnThousandsOfLayers) {
  std::mt19937 random(21);
  const double densities[] = {0.02, 0.1, 0.5, 0.9, 0.99};
  const double reaches[] = {0.5, 1, 1.43, 2, 5};
  const double lengths[] = {0, 1, 2.5, 6, 11, 40};
  for (int layer = 0; layer < 4000; ++layer) {
    const ChannelFalloff falloff =
        falloffOf(reaches[random() % 5], lengths[random() % 6], lengths[random() % 6]);
    const std::size_t width = 1 + random() % 40;
    const std::size_t height = 1 + random() % 25;
    const MaskPicture material = noise(random, width, height, densities[random() % 5]);
    const MaskPicture below = noise(random, width, height, densities[random() % 5]);
    expectPlainChannels(material, below, falloff);
    if (HasFailure()) FAIL() << "layer " << layer;
  }
}

TEST(OverhangChannels, AgreesWithAllPairsOnShapes) {
  std::mt19937 random(22);
  const double lengths[] = {0, 3, 14.3, 64, 127, 128, 1000};
  MaskPicture below = discs(random, 120, 150, 9);
  for (int layer = 0; layer < 10; ++layer) {
    const ChannelFalloff falloff =
        falloffOf(1 + layer % 4, lengths[layer % 7], lengths[layer / 2 % 7]);
    const MaskPicture material = discs(random, 120, 150, layer % 2 == 0 ? 9 : 40);
    expectPlainChannels(material, below, falloff);
    if (HasFailure()) FAIL() << "layer " << layer;
    below = material;
  }
}

// A block of material in a picture of background.
MaskPicture block(std::size_t width, std::size_t height, std::size_t left, std::size_t top,
                  std::size_t side) {
  MaskPicture mask(height, std::string(width, '.'));
  for (std::size_t y = top; y < top + side; ++y) mask[y].replace(left, side, side, '#');
  return mask;
}

TEST(OverhangChannels, AgreesWithAllPairsUnderAWideCeiling) {
  std::mt19937 random(23);
  const MaskPicture ceiling(90, std::string(150, '#'));
  MaskPicture holed = ceiling;
  for (int i = 0; i < 12; ++i) holed[random() % 90][random() % 150] = '.';
  const MaskPicture dots = noise(random, 150, 90, 0.003);
  for (const MaskPicture& below : {dots, block(150, 90, 40, 30, 6), block(150, 90, 0, 0, 0)}) {
    for (const double length : {12.0, 39.5, 40.0, 40.5, 41.0, 42.0, 90.0, 250.0}) {
      expectPlainChannels(ceiling, below, falloffOf(1.5, length, length));
      expectPlainChannels(holed, below, falloffOf(1.5, length, length));
      if (HasFailure()) FAIL() << "length " << length;
    }
  }
}

TEST(OverhangChannels, AgreesWithAllPairsOnHairsFarFromTheLayerBelow) {
  std::mt19937 random(24);
  MaskPicture hairs(160, std::string(200, '.'));
  for (std::size_t x = 7; x < 200; x += 40) {
    for (std::string& row : hairs) row.replace(x, 1 + random() % 3, "###", 1 + random() % 3);
  }
  for (std::string& row : hairs) row.resize(200, '.');
  for (const MaskPicture& below : {block(200, 160, 90, 70, 3), block(200, 160, 0, 150, 9)}) {
    for (const double length : {30.0, 100.0, 400.0}) {
      expectPlainChannels(hairs, below, falloffOf(2, length, length));
      if (HasFailure()) FAIL() << "length " << length;
    }
  }
}

// With time for the distances of the pixels, thousands here, it would not end.
TEST(OverhangChannels, FillsALargeLayerWithReachesOfThousandsOfPixels) {
  const int side = 3000;
  RunRows ceiling;
  RunRows pillars;
  for (int y = 0; y < side; ++y) {
    ceiling.add(0, side);
    for (int x = y % 700; y % 700 < 9 && x < side; x += 700) pillars.add(x, x + 9);
    ceiling.endRow();
    pillars.endRow();
  }
  const ChannelFalloff falloff = falloffOf(2, 4000, 4000);
  Slice slice;
  slice.material = ceiling;
  OverhangChannels(falloff).fill(&pillars, slice);
  EXPECT_GT(slice.blue.size(), 8900000u);
}

}  // namespace
}  // namespace stiltforge::slicing
