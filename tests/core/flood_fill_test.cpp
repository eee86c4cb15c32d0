#include "analysis/flood_fill.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

#include "core/stage_test.h"

namespace stiltforge {
namespace {

class FloodFillTest : public LayersTest {};

TEST_F(FloodFillTest, GivesThePlaceholderNothing) {
  const Group& placeholder = segment({"#"}).groups[0];
  EXPECT_EQ(placeholder.id, 0u);
  EXPECT_EQ(placeholder.numPixel, 0u);
  EXPECT_EQ(placeholder.xMax, 0);
  EXPECT_EQ(placeholder.yMax, 0);
  EXPECT_EQ(placeholder.pixelStrength, 0.0f);
  EXPECT_EQ(placeholder.placement, nullptr);
}

TEST_F(FloodFillTest, BoxesReachTheLargestSlice) {
  Picture row = emptyPicture(65535, 1);
  std::fill_n(row.pixels.data(), 65535, materialPixel());
  const Group& group = segment(row).groups.at(1);
  EXPECT_EQ(group.xMax, 65535);
  layers.clear();
  Picture column = emptyPicture(1, 65535);
  std::fill_n(column.pixels.data(), 65535, materialPixel());
  EXPECT_EQ(segment(column).groups.at(1).yMax, 65535);
}

TEST_F(FloodFillTest, CountsEveryPixelOfALongRow) {
  Picture layer = emptyPicture(1000, 1);
  for (std::size_t x = 0; x < 1000; ++x) {
    layer.pixels[x] = materialPixel(x % 4 == 0 ? 255 : static_cast<uint8_t>(x % 4 * 40));
  }
  const Group& group = segment(layer).groups[1];
  EXPECT_EQ(group.unsupportedPixelCount, 750u);
  EXPECT_EQ(group.almostNotBlueCount, 250u);
  layers.clear();
  EXPECT_EQ(segment({std::string(1000, '#')}).groups[1].islandBlueCount, 1000u);
}

TEST_F(FloodFillTest, NeverReadsLabelsThatTheHostSent) {
  // Words like labels, in this slice and in the one below, are plain material or plain background.
  Picture below = emptyPicture(3, 1);
  below.pixels[0] = 0xFFFFFF00;
  below.pixels[1] = 0x80ABCDEF;
  segment(below);
  Picture layer = emptyPicture(3, 1);
  layer.pixels[0] = 0x80000005;
  layer.pixels[1] = 0x80000005;
  const Group& group = segment(layer).groups.at(1);
  EXPECT_EQ(group.numPixel, 2u);
  EXPECT_EQ(overlapOf(group), (std::vector<uint32_t>{0, 1}));
}

TEST_F(FloodFillTest, ScansNothingWithoutAWidthOrAHeight) {
  EXPECT_EQ(segment(emptyPicture(0, 0)).groups.size(), 1u);
  EXPECT_EQ(segment(emptyPicture(0, 9)).groups.size(), 1u);
  EXPECT_EQ(segment(emptyPicture(9, 0)).groups.size(), 1u);
}

TEST_F(FloodFillTest, RefusesMaterialBeyondTheMarkers) {
  segment({"..", ".."});
  EXPECT_THROW(segment({"...", "...", "..#"}), std::out_of_range);
  EXPECT_EQ(layers.size(), 1u);
  EXPECT_THROW(segment({"....#"}), std::out_of_range);
  EXPECT_EQ(segment({"#..", "...", "..."}).groupCount, 1u) << "background there is no offence";
}

}  // namespace
}  // namespace stiltforge
