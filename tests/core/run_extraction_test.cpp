#include "analysis/run_extraction.h"

#include <gtest/gtest.h>

#include "analysis/solid_mask.h"
#include "core/drawing.h"
#include "core/random.h"

namespace stiltforge {
namespace {

Layer extracted(Layer layer, bool clearBackground = true) {
  layer.supportedPixels = Plane<uint8_t>(layer.pixelBuffer.size());
  layer.strokePixels = Plane<uint8_t>(layer.pixelBuffer.size());
  std::fill_n(layer.supportedPixels.data(), layer.supportedPixels.size(), 77);
  std::fill_n(layer.strokePixels.data(), layer.strokePixels.size(), 77);
  extractRuns(layer, clearBackground);
  return layer;
}

struct RowRun {
  uint32_t row;
  uint32_t begin;
  uint32_t end;
  friend bool operator==(const RowRun&, const RowRun&) = default;
};

std::vector<RowRun> runsOf(const Layer& layer) {
  std::vector<RowRun> runs;
  for (uint32_t y = 0; y < layer.height; ++y) {
    for (uint32_t r = layer.rowRuns[y]; r < layer.rowRuns[y + 1]; ++r) {
      runs.push_back({y, layer.runs[r].begin, layer.runs[r].end});
    }
  }
  return runs;
}

// Pixel by pixel.
std::vector<RowRun> plainRuns(const Layer& layer) {
  std::vector<RowRun> runs;
  for (uint32_t y = 0; y < layer.height; ++y) {
    bool inside = false;
    for (uint32_t x = 0; x < layer.width; ++x) {
      const bool solid = (layer.pixelBuffer[std::size_t{y} * layer.width + x] & 0xFF) != 0;
      if (solid && !inside) runs.push_back({y, x, x});
      if (solid) runs.back().end = x + 1;
      inside = solid;
    }
  }
  return runs;
}

TEST(RunExtraction, FindsTheMaximalRunsOfEveryRow) {
  const Layer layer = extracted(draw({"##.#", "....", ".###", "#..."}));
  EXPECT_EQ(runsOf(layer), (std::vector<RowRun>{{0, 0, 2}, {0, 3, 4}, {2, 1, 4}, {3, 0, 1}}));
  EXPECT_EQ(layer.rowRuns, (std::vector<uint32_t>{0, 2, 2, 3, 4}));
}

TEST(RunExtraction, SplitsTheChannelsOfMaterialAndClearsTheRest) {
  const Layer layer = extracted(draw({".##.", "#..."}, 200, 9));
  const std::vector<uint8_t> blue(layer.supportedPixels.data(), layer.supportedPixels.data() + 8);
  EXPECT_EQ(blue, (std::vector<uint8_t>{0, 200, 200, 0, 200, 0, 0, 0}));
  EXPECT_EQ(layer.strokePixels[1], 9);
  EXPECT_EQ(layer.strokePixels[2], 9);
  EXPECT_EQ(layer.strokePixels[4], 9);
}

TEST(RunExtraction, TakesAnyRedForMaterialWhateverTheAlpha) {
  Layer layer = emptyLayer(3, 1);
  layer.pixelBuffer[0] = 0x00000001;
  layer.pixelBuffer[1] = 0x80FFFF00;
  layer.pixelBuffer[2] = 0x7F0000FF;
  EXPECT_EQ(runsOf(extracted(std::move(layer))), (std::vector<RowRun>{{0, 0, 1}, {0, 2, 3}}));
}

TEST(RunExtraction, FindsNothingInAnImageWithoutPixels) {
  for (const auto& [width, height] : {std::pair{0, 0}, {0, 5}, {5, 0}}) {
    const Layer layer =
        extracted(emptyLayer(static_cast<uint16_t>(width), static_cast<uint16_t>(height)));
    EXPECT_TRUE(layer.runs.empty());
    EXPECT_EQ(layer.rowRuns, std::vector<uint32_t>(static_cast<std::size_t>(height) + 1, 0));
  }
}

TEST(RunExtraction, ReachesTheLastColumnOfTheWidestSlice) {
  Layer layer = emptyLayer(65535, 2);
  std::fill_n(layer.pixelBuffer.data(), 65535, materialPixel());
  layer.pixelBuffer[65535 + 65534] = materialPixel();
  EXPECT_EQ(runsOf(extracted(std::move(layer))),
            (std::vector<RowRun>{{0, 0, 65535}, {1, 65534, 65535}}));
}

TEST(RunExtraction, EqualsAPixelByPixelWalkWithEveryVariant) {
  Random random(11);
  for (int i = 0; i < 600; ++i) {
    const auto width = static_cast<uint16_t>(random.between(1, 200));
    const auto height = static_cast<uint16_t>(random.between(1, 12));
    Layer layer = emptyLayer(width, height);
    const uint32_t rarity = 1 + random.below(30);
    bool solid = false;
    for (std::size_t k = 0; k < layer.pixelBuffer.size(); ++k) {
      if (random.oneIn(rarity)) solid = !solid;
      // Background must not show through, even where the host gave it colours.
      const uint32_t colour = random.oneIn(2) ? random.below(1u << 24) << 8 : backgroundPixel;
      layer.pixelBuffer[k] =
          solid ? materialPixel(static_cast<uint8_t>(random.below(256))) : colour;
    }
    for (const SolidMaskVariant& variant : solidMaskVariants()) {
      forceSolidMaskFunction(variant.function);
      layer = extracted(std::move(layer));
      ASSERT_EQ(runsOf(layer), plainRuns(layer)) << variant.name;
      for (std::size_t k = 0; k < layer.pixelBuffer.size(); ++k) {
        const uint32_t pixel = layer.pixelBuffer[k];
        ASSERT_EQ(layer.supportedPixels[k], (pixel & 0xFF) != 0 ? (pixel >> 16) & 0xFF : 0);
      }
    }
  }
  forceSolidMaskFunction(nullptr);
}

}  // namespace
}  // namespace stiltforge
