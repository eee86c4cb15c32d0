#include "analysis/run_extraction.h"

#include <gtest/gtest.h>

#include "analysis/pixel_masks.h"
#include "core/drawing.h"
#include "core/random.h"

namespace stiltforge {
namespace {

using Bytes = std::vector<uint8_t>;
using Runs = std::vector<stiltforge::Run>;

// Pixel by pixel.
Slice plainSlice(const Picture& picture) {
  Slice slice;
  slice.width = picture.width;
  slice.height = picture.height;
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; ++x) {
      const uint32_t pixel =
          picture.pixels[static_cast<std::size_t>(y) * picture.width + static_cast<std::size_t>(x)];
      const auto blue = static_cast<uint8_t>(pixel >> 16);
      if ((pixel & 0xFF) == 0) continue;
      slice.material.add(x, x + 1);
      if (blue == 255) continue;
      slice.overhang.add(x, x + 1);
      slice.blue.push_back(blue);
      slice.green.push_back(static_cast<uint8_t>(pixel >> 8));
    }
    slice.material.endRow();
    slice.overhang.endRow();
  }
  return slice;
}

void expectPlain(const Picture& picture) {
  const Slice slice = sliceOf(picture);
  const Slice plain = plainSlice(picture);
  ASSERT_EQ(slice.width, plain.width);
  ASSERT_EQ(slice.height, plain.height);
  ASSERT_TRUE(slice.material == plain.material);
  ASSERT_TRUE(slice.overhang == plain.overhang);
  ASSERT_EQ(slice.blue, plain.blue);
  ASSERT_EQ(slice.green, plain.green);
}

Runs rowOf(const RunRows& rows, int y) {
  return {rows.row(y).begin(), rows.row(y).end()};
}

TEST(RunExtraction, FindsTheMaximalRunsOfEveryRow) {
  const Slice slice = sliceOf(draw({"##.#", "....", ".###", "#..."}));
  EXPECT_EQ(slice.material.height(), 4);
  EXPECT_EQ(rowOf(slice.material, 0), (Runs{{0, 2}, {3, 4}}));
  EXPECT_EQ(rowOf(slice.material, 1), Runs{});
  EXPECT_EQ(rowOf(slice.material, 2), (Runs{{1, 4}}));
  EXPECT_EQ(rowOf(slice.material, 3), (Runs{{0, 1}}));
}

TEST(RunExtraction, FindsTheOverhangAndItsChannels) {
  Picture picture = draw({"#####", ".##.."}, 255, 3);
  picture.pixels[1] = materialPixel(254, 4);
  picture.pixels[2] = materialPixel(0, 5);
  picture.pixels[4] = materialPixel(9, 6);
  const Slice slice = sliceOf(picture);
  EXPECT_EQ(rowOf(slice.overhang, 0), (Runs{{1, 3}, {4, 5}}));
  EXPECT_EQ(rowOf(slice.overhang, 1), Runs{});
  EXPECT_EQ(Bytes(slice.blue.begin(), slice.blue.end()), (Bytes{254, 0, 9}));
  EXPECT_EQ(Bytes(slice.green.begin(), slice.green.end()), (Bytes{4, 5, 6}));
}

TEST(RunExtraction, TakesAnyRedForMaterialWhateverTheAlpha) {
  Picture picture = emptyPicture(3, 1);
  picture.pixels = {0x00000001, 0x80FFFF00, 0x7F0000FF};
  EXPECT_EQ(rowOf(sliceOf(picture).material, 0), (Runs{{0, 1}, {2, 3}}));
}

TEST(RunExtraction, FindsNothingInAPictureWithoutPixels) {
  for (const auto& [width, height] : {std::pair{0, 0}, {0, 5}, {5, 0}}) {
    const Slice slice =
        sliceOf(emptyPicture(static_cast<uint16_t>(width), static_cast<uint16_t>(height)));
    EXPECT_TRUE(slice.material.empty());
    EXPECT_EQ(slice.material.height(), height);
    EXPECT_EQ(slice.overhang.height(), height);
  }
}

TEST(RunExtraction, ReachesTheLastColumnOfTheWidestSlice) {
  Picture picture = emptyPicture(65535, 2);
  std::fill_n(picture.pixels.data(), 65535, materialPixel());
  picture.pixels[65535 + 65534] = materialPixel();
  const Slice slice = sliceOf(picture);
  EXPECT_EQ(rowOf(slice.material, 0), (Runs{{0, 65535}}));
  EXPECT_EQ(rowOf(slice.overhang, 1), (Runs{{65534, 65535}}));
}

TEST(RunExtraction, CopiesThePictureOnTheWay) {
  Random random(12);
  Picture picture = emptyPicture(131, 700);
  for (uint32_t& pixel : picture.pixels) pixel = random.below(0xFFFFFFFF);
  const Bytes sent = bytesOf(picture);
  Bytes copy(sent.size());
  sliceOfPixels(sent.data(), picture.width, picture.height, copy.data());
  EXPECT_EQ(copy, sent);
}

TEST(RunExtraction, ReadsPicturesAtAnyAddress) {
  Random random(13);
  Picture picture = emptyPicture(201, 9);
  for (uint32_t& pixel : picture.pixels) pixel = random.below(0xFFFFFFFF);
  const Slice aligned = sliceOf(picture);
  Bytes sent = bytesOf(picture);
  for (int offset = 1; offset < 5; ++offset) {
    sent.insert(sent.begin(), 77);
    const Slice slice = sliceOfPixels(sent.data() + offset, picture.width, picture.height);
    EXPECT_TRUE(slice.material == aligned.material);
    EXPECT_EQ(slice.blue, aligned.blue);
  }
}

TEST(RunExtraction, EqualsAPixelByPixelWalkWithEveryVariant) {
  Random random(11);
  for (int i = 0; i < 600; ++i) {
    Picture picture = emptyPicture(static_cast<uint16_t>(random.between(1, 200)),
                                   static_cast<uint16_t>(random.between(1, 12)));
    const uint32_t rarity = 1 + random.below(30);
    const uint32_t supportedOften = 1 + random.below(8);
    bool solid = false;
    uint8_t blue = 255;
    for (uint32_t& pixel : picture.pixels) {
      if (random.oneIn(rarity)) solid = !solid;
      if (random.oneIn(supportedOften)) {
        blue = random.oneIn(2) ? 255 : static_cast<uint8_t>(random.below(256));
      }
      // Background must not show through, even where the host gave it colours.
      const uint32_t colour = random.oneIn(2) ? random.below(1u << 24) << 8 : backgroundPixel;
      pixel = solid ? materialPixel(blue, static_cast<uint8_t>(random.below(256))) : colour;
    }
    for (const PixelMaskVariant& variant : pixelMaskVariants()) {
      forcePixelMaskFunction(variant.function);
      expectPlain(picture);
      if (testing::Test::HasFatalFailure()) FAIL() << variant.name << ", picture " << i;
    }
  }
  forcePixelMaskFunction(nullptr);
}

// So many rows that they are read in several bands, of noise and of long runs in turn.
TEST(RunExtraction, EqualsAPixelByPixelWalkInBandsOfRows) {
  Random random(14);
  Picture picture = emptyPicture(900, 700);
  for (std::size_t y = 0; y < 700; ++y) {
    const uint32_t meanRun = random.oneIn(2) ? 2 : 200;
    bool solid = random.oneIn(2);
    for (std::size_t x = 0; x < 900; ++x) {
      if (random.oneIn(meanRun)) solid = !solid;
      if (solid) picture.pixels[y * 900 + x] = materialPixel(random.oneIn(3) ? 255 : 7);
    }
  }
  expectPlain(picture);
}

}  // namespace
}  // namespace stiltforge
