#include "analysis/pixel_masks.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "core/random.h"

namespace stiltforge {

static void PrintTo(const PixelMaskVariant& variant, std::ostream* out) {
  *out << variant.name;
}

namespace {

using Bytes = std::vector<uint8_t>;

// Pixels that differ from each other in every byte that could be mistaken for red or blue.
Bytes randomRow(Random& random, std::size_t width) {
  constexpr uint8_t bytes[] = {0, 1, 127, 128, 254, 255};
  Bytes row(4 * width);
  for (uint8_t& byte : row) byte = bytes[random.below(6)];
  return row;
}

struct Masks {
  explicit Masks(std::size_t width, uint64_t filling = 0)
      : solid((width + 63) / 64, filling), overhang(solid) {}
  std::vector<uint64_t> solid;
  std::vector<uint64_t> overhang;
  bool operator==(const Masks&) const = default;
};

Masks masksOf(PixelMaskFunction function, const uint8_t* row, std::size_t width,
              uint64_t filling = 0) {
  Masks masks(width, filling);
  function(row, width, masks.solid.data(), masks.overhang.data());
  return masks;
}

class PixelMasks : public testing::TestWithParam<PixelMaskVariant> {
 protected:
  const PixelMaskFunction function = GetParam().function;
  const PixelMaskFunction plain = pixelMaskVariants().front().function;
};

TEST_P(PixelMasks, SetTheBitsOfPixelsWithRedAndOfThoseWithoutFullBlue) {
  const Bytes row = {0,   0, 0,   255,   // background
                     1,   0, 255, 255,   // supported
                     0,   9, 9,   9,     // background, whatever its other bytes
                     128, 0, 254, 0,     // hangs over
                     255, 0, 0,   255};  // hangs over
  const Masks masks = masksOf(function, row.data(), 5, ~uint64_t{0});
  EXPECT_EQ(masks.solid[0], 0b11010u);
  EXPECT_EQ(masks.overhang[0], 0b11000u);
}

TEST_P(PixelMasks, EqualThePlainVariantAtEveryWidth) {
  Random random(5);
  for (std::size_t width = 1; width <= 200; ++width) {
    for (int repetition = 0; repetition < 20; ++repetition) {
      const Bytes row = randomRow(random, width);
      const Masks expected = masksOf(plain, row.data(), width, 0x5555555555555555);
      ASSERT_EQ(masksOf(function, row.data(), width, 0xAAAAAAAAAAAAAAAA), expected) << width;
      for (std::size_t x = 0; x < width; ++x) {
        const bool solid = row[4 * x] != 0;
        ASSERT_EQ((expected.solid[x / 64] >> (x % 64)) & 1, solid ? 1u : 0u);
        const bool hangs = solid && row[4 * x + 2] != 255;
        ASSERT_EQ((expected.overhang[x / 64] >> (x % 64)) & 1, hangs ? 1u : 0u);
      }
      if (width % 64 == 0) continue;
      ASSERT_EQ(expected.solid.back() >> (width % 64), 0u) << "beyond the width";
      ASSERT_EQ(expected.overhang.back() >> (width % 64), 0u) << "beyond the width";
    }
  }
}

TEST_P(PixelMasks, ReadRowsAtAnyAddress) {
  Random random(6);
  const Bytes pixels = randomRow(random, 512);
  for (std::size_t offset = 0; offset < 64; ++offset) {
    EXPECT_EQ(masksOf(function, pixels.data() + offset, 300),
              masksOf(plain, pixels.data() + offset, 300));
  }
}

INSTANTIATE_TEST_SUITE_P(Variants, PixelMasks, testing::ValuesIn(pixelMaskVariants()),
                         [](const auto& variant) { return std::string(variant.param.name); });

TEST(PixelMaskChoice, IsTheFastestVariantUnlessForced) {
  const std::vector<PixelMaskVariant> variants = pixelMaskVariants();
  EXPECT_EQ(pixelMaskFunction(), variants.back().function);
  forcePixelMaskFunction(variants.front().function);
  EXPECT_EQ(pixelMaskFunction(), variants.front().function);
  forcePixelMaskFunction(nullptr);
  EXPECT_EQ(pixelMaskFunction(), variants.back().function);
}

}  // namespace
}  // namespace stiltforge
