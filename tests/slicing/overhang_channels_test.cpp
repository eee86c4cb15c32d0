#include "slicing/overhang_channels.h"

#include <gtest/gtest.h>

#include <random>

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
  for (int layer = 0; layer < 14; ++layer) {
    const ChannelFalloff falloff =
        falloffOf(1 + layer % 4, lengths[layer % 7], lengths[layer / 2 % 7]);
    const MaskPicture material = discs(random, 120, 150, layer % 2 == 0 ? 9 : 40);
    expectPlainChannels(material, below, falloff);
    if (HasFailure()) FAIL() << "layer " << layer;
    below = material;
  }
}

}  // namespace
}  // namespace stiltforge::slicing
