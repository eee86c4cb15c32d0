#include "reference/flood_fill.h"

#include <gtest/gtest.h>

#include "reference/picture.h"

namespace stiltforge::reference {
namespace {

class FloodFillTest : public testing::Test {
 protected:
  // Segments the next slice of the model and returns its layer.
  const Layer& add(const std::vector<std::string>& rows, uint8_t blue = 0, uint8_t green = 0) {
    const auto width = static_cast<uint16_t>(rows[0].size());
    const auto height = static_cast<uint16_t>(rows.size());
    top.resize(size_t{width} * height, 0);
    layers.push_back(floodFill(picture(rows, blue, green), width, height, parameters, layers, top));
    return layers.back();
  }

  Parameters parameters;
  std::vector<Layer> layers;
  std::vector<uint32_t> top;
};

TEST_F(FloodFillTest, FindsOnlyThePlaceholderInAnEmptySlice) {
  const Layer& layer = add({"...", "..."});
  EXPECT_EQ(layer.groups.size(), 1u);
  EXPECT_EQ(layer.groupCount, 0u);
  EXPECT_EQ(layer.pixelCount, 0u);
  EXPECT_EQ(layer.pixelBuffer, std::vector<uint32_t>(6, 0xFF000000u));
  EXPECT_EQ(layer.supportedPixels, std::vector<uint8_t>(6, 0));
  EXPECT_EQ(layer.strokePixels, std::vector<uint8_t>(6, 0));
  EXPECT_EQ(top, std::vector<uint32_t>(6, 0));
}

TEST_F(FloodFillTest, MeasuresAGroupOfOnePixel) {
  const Layer& layer = add({"#.", ".."}, 255, 7);
  ASSERT_EQ(layer.groupCount, 1u);
  const Group& group = *layer.groups[1];
  EXPECT_EQ(group.id, 1u);
  EXPECT_EQ(group.numPixel, 1u);
  EXPECT_EQ(group.xMin, 0);
  EXPECT_EQ(group.yMin, 0);
  EXPECT_EQ(group.xMax, 1);
  EXPECT_EQ(group.yMax, 1);
  EXPECT_EQ(group.spanX, 0);
  EXPECT_EQ(group.spanY, 0);
  EXPECT_EQ(group.unsupportedPixelCount, 0u);
  EXPECT_EQ(layer.pixelBuffer[0], 0x80000001u);
  EXPECT_EQ(layer.supportedPixels[0], 255);
  EXPECT_EQ(layer.strokePixels[0], 7);
}

TEST_F(FloodFillTest, CountsBlueStrictlyBelowTheLimits) {
  add({"#"}, 49);
  EXPECT_EQ(layers[0].groups[1]->unsupportedPixelCount, 1u);
  EXPECT_EQ(layers[0].groups[1]->almostNotBlueCount, 1u);
  EXPECT_EQ(layers[0].groups[1]->islandBlueCount, 1u);
  add({"#"}, 50);
  EXPECT_EQ(layers[1].groups[1]->unsupportedPixelCount, 1u);
  EXPECT_EQ(layers[1].groups[1]->almostNotBlueCount, 0u);
  EXPECT_EQ(layers[1].groups[1]->islandBlueCount, 0u);
}

TEST_F(FloodFillTest, JoinsAPixelToTheCornerBelowTheEndOfItsRun) {
  EXPECT_EQ(add({"#.", ".#"}).groupCount, 1u);
  EXPECT_EQ(add({".#", "#."}).groupCount, 1u);
}

TEST_F(FloodFillTest, NeverLooksDiagonallyUpwards) {
  const Layer& layer = add({"#...", "#..#", "###."});
  ASSERT_EQ(layer.groupCount, 2u);
  EXPECT_EQ(layer.groups[1]->numPixel, 5u);
  EXPECT_EQ(layer.groups[2]->numPixel, 1u);
  EXPECT_EQ(layer.groups[2]->xMin, 3);
  EXPECT_EQ(layer.groups[2]->yMin, 1);
}

// The fill from (0, 0) descends to (1, 1) over the corner; its run walks up through the material of
// its own column, so the box holds everything that the group's runs pass.
TEST_F(FloodFillTest, WalksUpToTheTopOfEachRun) {
  const Layer& layer = add({"#.#", ".##", ".#."});
  ASSERT_EQ(layer.groupCount, 1u);
  EXPECT_EQ(layer.groups[1]->numPixel, 5u);
  EXPECT_EQ(layer.groups[1]->xMax, 3);
  EXPECT_EQ(layer.groups[1]->yMax, 3);
  EXPECT_EQ(layer.groups[1]->spanX, 2);
}

TEST_F(FloodFillTest, CountsTheLayersBelowAColumn) {
  for (uint32_t n = 0; n < 4; ++n) {
    EXPECT_EQ(add({"#.."}).groups[1]->islandDistance, n);
  }
  const Layer& withIsland = add({"#.#"});
  EXPECT_EQ(withIsland.groups[1]->islandDistance, 4u);
  EXPECT_EQ(withIsland.groups[2]->islandDistance, 0u);
  EXPECT_EQ(add({"#.#"}).groups[2]->islandDistance, 1u);
  EXPECT_EQ(add({"###"}).groups[1]->islandDistance, 6u) << "the longer of the two columns counts";
}

TEST_F(FloodFillTest, CountsThePixelsSharedWithEachLowerGroup) {
  add({"##.#", "##.."});
  const Group& group = *add({"####", "#..."}).groups[1];
  EXPECT_EQ(group.overlap, (std::vector<uint32_t>{0, 3, 1}));
  EXPECT_EQ(group.supportedPixel, 4u);
  const Group& island = *add({"....", "..#."}).groups[1];
  EXPECT_EQ(island.overlap, (std::vector<uint32_t>{0, 0}));
  EXPECT_EQ(island.supportedPixel, 0u);
}

TEST_F(FloodFillTest, GivesFirstLayerGroupsTheirWeight) {
  const Group& first = *add({"##"}).groups[1];
  EXPECT_TRUE(first.overlap.empty());
  EXPECT_EQ(first.supportedPixel, 0u);
  EXPECT_EQ(first.strength, 2.0f);
  EXPECT_EQ(first.pixelStrength, 1.0f);
  const Group& second = *add({"##"}).groups[1];
  EXPECT_EQ(second.strength, 0.0f);
  EXPECT_EQ(second.pixelStrength, 0.0f);
}

TEST_F(FloodFillTest, MarksTheHighestLayerOfEachPixel) {
  add({"##."});
  add({"#.."});
  EXPECT_EQ(top, (std::vector<uint32_t>{0xFE000001u, 0xFE000000u, 0}));
}

}  // namespace
}  // namespace stiltforge::reference
