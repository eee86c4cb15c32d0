#include "slicing/channel_filler.h"

#include <gtest/gtest.h>

#include <random>

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

class Filled {
 public:
  Filled(const MaskPicture& mask, const ChannelFalloff& falloff)
      : width_(static_cast<int>(mask[0].size())),
        height_(static_cast<int>(mask.size())),
        falloff_(falloff),
        filler_(width_, height_, falloff_) {}

  std::vector<uint8_t> fill(const MaskPicture& material, const MaskPicture& below) {
    std::vector<uint8_t> rgba(
        static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_) * 4, 77);
    const RunRows belowRuns = runsOf(below);
    filler_.fill(runsOf(material), below.empty() ? nullptr : &belowRuns, rgba.data());
    return rgba;
  }

 private:
  int width_;
  int height_;
  ChannelFalloff falloff_;
  ChannelFiller filler_;
};

TEST(ChannelFiller, WritesBackgroundAsOpaqueBlack) {
  const MaskPicture mask{"..", ".."};
  const std::vector<uint8_t> rgba = Filled(mask, falloffOf(1, 5, 5)).fill(mask, {});
  for (std::size_t i = 0; i < rgba.size(); i += 4) {
    EXPECT_EQ(std::vector<uint8_t>(&rgba[i], &rgba[i] + 4), (std::vector<uint8_t>{0, 0, 0, 255}));
  }
}

TEST(ChannelFiller, LetsNothingLeanOnALonePixel) {
  const MaskPicture material{".###."};
  Filled filled(material, falloffOf(1, 5, 2));
  const auto blueOver = [&](const MaskPicture& below) {
    const std::vector<uint8_t> rgba = filled.fill(material, below);
    return std::vector<int>{rgba[6], rgba[10], rgba[14]};
  };
  EXPECT_EQ(blueOver({"..#.."}), (std::vector<int>{0, 0, 0}));
  EXPECT_EQ(blueOver({"..##."}), (std::vector<int>{255, 255, 255}));
}

TEST(ChannelFiller, TakesThePicturesBorderForContour) {
  const MaskPicture mask{"###", "###", "###"};
  const std::vector<uint8_t> rgba = Filled(mask, falloffOf(1, 5, 2)).fill(mask, {});
  std::vector<int> green;
  for (std::size_t i = 1; i < rgba.size(); i += 4) green.push_back(rgba[i]);
  EXPECT_EQ(green, (std::vector<int>{255, 255, 255, 255, 128, 255, 255, 255, 255}));
}

TEST(ChannelFiller, NeedsASideToBeFreeForAContour) {
  // The pixel in the middle touches background at a corner only.
  const MaskPicture mask{"####", "####", "##..", "##.."};
  const std::vector<uint8_t> rgba = Filled(mask, falloffOf(1, 5, 0)).fill(mask, {});
  EXPECT_EQ(rgba[(1 * 4 + 1) * 4 + 1], 0);
}

TEST(ChannelFiller, SupportsNothingOverAnEmptyLayer) {
  const MaskPicture mask{"###"};
  const std::vector<uint8_t> rgba = Filled(mask, falloffOf(1, 5, 0)).fill(mask, {"..."});
  for (std::size_t i = 2; i < rgba.size(); i += 4) EXPECT_EQ(rgba[i], 0);
}

struct Reach {
  const char* name;
  double support, fullOverhang, inset;
};
void PrintTo(const Reach& reach, std::ostream* out) {
  *out << reach.name;
}

class ChannelFillerAgainstAllPairs : public testing::TestWithParam<Reach> {};

TEST_P(ChannelFillerAgainstAllPairs, AgreesOnNoise) {
  const Reach reach = GetParam();
  const ChannelFalloff falloff = falloffOf(reach.support, reach.fullOverhang, reach.inset);
  std::mt19937 random(11);
  for (const double density : {0.02, 0.3, 0.7, 0.97, 0.998}) {
    const MaskPicture below = noise(random, 61, 83, density / 4);
    const MaskPicture material = noise(random, 61, 83, density);
    Filled filled(material, falloff);
    EXPECT_EQ(filled.fill(below, {}), plainChannels(below, {}, falloff));
    EXPECT_EQ(filled.fill(material, below), plainChannels(material, below, falloff)) << density;
  }
}

TEST_P(ChannelFillerAgainstAllPairs, AgreesOnShapes) {
  const Reach reach = GetParam();
  const ChannelFalloff falloff = falloffOf(reach.support, reach.fullOverhang, reach.inset);
  std::mt19937 random(12);
  MaskPicture below;
  const MaskPicture first = discs(random, 120, 150, 9);
  Filled filled(first, falloff);
  for (int layer = 0; layer < 6; ++layer) {
    const MaskPicture material = discs(random, 120, 150, 9);
    EXPECT_EQ(filled.fill(material, below), plainChannels(material, below, falloff)) << layer;
    below = material;
  }
}

INSTANTIATE_TEST_SUITE_P(Reaches, ChannelFillerAgainstAllPairs,
                         testing::Values(Reach{"BelowOnePixel", 0.5, 0, 0}, Reach{"Short", 1, 3, 1},
                                         Reach{"Fractions", 1.43, 14.3, 11.4},
                                         Reach{"SteepSupportWideInset", 5, 6, 64},
                                         Reach{"LongestIn16Bits", 2, 127, 127},
                                         Reach{"ShortestIn32Bits", 2, 128, 128},
                                         Reach{"BeyondThePicture", 3, 1000, 1000}),
                         [](const auto& reach) { return std::string(reach.param.name); });

TEST(ChannelFiller, AgreesOnPicturesOfOneRowOrColumn) {
  const ChannelFalloff falloff = falloffOf(1, 4, 3);
  std::mt19937 random(13);
  for (const auto& [width, height] :
       {std::pair<std::size_t, std::size_t>{200, 1}, {1, 200}, {1, 1}}) {
    const MaskPicture below = noise(random, width, height, 0.2);
    const MaskPicture material = noise(random, width, height, 0.9);
    EXPECT_EQ(Filled(material, falloff).fill(material, below),
              plainChannels(material, below, falloff));
  }
}

}  // namespace
}  // namespace stiltforge::slicing
