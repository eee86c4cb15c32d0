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

TEST_F(FloodFillTest, MarksTheHighestLayerOfEachPixel) {
  add({"##."});
  add({"#.."});
  EXPECT_EQ(top, (std::vector<uint32_t>{0xFE000001u, 0xFE000000u, 0}));
}

}  // namespace
}  // namespace stiltforge::reference
