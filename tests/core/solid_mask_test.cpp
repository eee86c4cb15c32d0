#include "analysis/solid_mask.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "core/random.h"

namespace stiltforge {

static void PrintTo(const SolidMaskVariant& variant, std::ostream* out) {
  *out << variant.name;
}

namespace {

// Words that differ from each other in every byte that could be mistaken for the red one.
uint32_t randomPixel(Random& random) {
  constexpr uint32_t words[] = {0xFF000000, 0xFF0000FF, 0xFFFFFF00, 0x00000001,
                                0x80000000, 0xFF000080, 0x0000FF00, 0xFFFFFFFF};
  return words[random.below(8)];
}

class SolidMask : public testing::TestWithParam<SolidMaskVariant> {};

TEST_P(SolidMask, SetsTheBitOfEveryPixelWithRed) {
  const uint32_t row[] = {0xFF000000, 0xFF000001, 0xFFFFFF00, 0x00000080};
  uint64_t mask = ~uint64_t{0};
  GetParam().function(row, 4, &mask);
  EXPECT_EQ(mask, 0b1010u);
}

TEST_P(SolidMask, EqualsThePlainVariantAtEveryWidth) {
  const SolidMaskFunction plain = solidMaskVariants().front().function;
  Random random(5);
  for (std::size_t width = 1; width <= 200; ++width) {
    for (int repetition = 0; repetition < 20; ++repetition) {
      std::vector<uint32_t> row(width);
      for (uint32_t& pixel : row) pixel = randomPixel(random);
      const std::size_t words = (width + 63) / 64;
      std::vector<uint64_t> expected(words, 0x5555555555555555);
      std::vector<uint64_t> actual(words, 0xAAAAAAAAAAAAAAAA);
      plain(row.data(), width, expected.data());
      GetParam().function(row.data(), width, actual.data());
      ASSERT_EQ(actual, expected) << width;
      for (std::size_t x = 0; x < width; ++x) {
        ASSERT_EQ((expected[x / 64] >> (x % 64)) & 1, (row[x] & 0xFF) != 0 ? 1u : 0u);
      }
      if (width % 64 == 0) continue;
      ASSERT_EQ(expected.back() >> (width % 64), 0u) << "beyond the width";
    }
  }
}

TEST_P(SolidMask, ReadsRowsAtAnyAddress) {
  const SolidMaskFunction plain = solidMaskVariants().front().function;
  Random random(6);
  std::vector<uint32_t> pixels(512);
  for (uint32_t& pixel : pixels) pixel = randomPixel(random);
  for (std::size_t offset = 0; offset < 16; ++offset) {
    std::vector<uint64_t> expected(5);
    std::vector<uint64_t> actual(5);
    plain(pixels.data() + offset, 300, expected.data());
    GetParam().function(pixels.data() + offset, 300, actual.data());
    EXPECT_EQ(actual, expected);
  }
}

INSTANTIATE_TEST_SUITE_P(Variants, SolidMask, testing::ValuesIn(solidMaskVariants()),
                         [](const auto& variant) { return std::string(variant.param.name); });

TEST(SolidMaskChoice, IsTheFastestVariantUnlessForced) {
  const std::vector<SolidMaskVariant> variants = solidMaskVariants();
  EXPECT_EQ(solidMaskFunction(), variants.back().function);
  forceSolidMaskFunction(variants.front().function);
  EXPECT_EQ(solidMaskFunction(), variants.front().function);
  forceSolidMaskFunction(nullptr);
  EXPECT_EQ(solidMaskFunction(), variants.back().function);
}

}  // namespace
}  // namespace stiltforge
