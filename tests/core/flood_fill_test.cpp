#include "analysis/flood_fill.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

#include "core/stage_test.h"

namespace stiltforge {
namespace {

class FloodFillTest : public ModelTest {};

TEST_F(FloodFillTest, FindsOnlyThePlaceholderInAnEmptySlice) {
  const Layer& layer = segment({"...", "..."});
  EXPECT_EQ(layer.groups.size(), 1u);
  EXPECT_EQ(layer.groupCount, 0u);
  EXPECT_EQ(layer.pixelCount, 0u);
  EXPECT_EQ(valuesOf(layer.pixelBuffer), std::vector<uint32_t>(6, backgroundPixel));
  EXPECT_EQ(valuesOf(layer.supportedPixels), std::vector<uint8_t>(6, 0));
  EXPECT_EQ(valuesOf(top), std::vector<uint32_t>(6, 0));
}

TEST_F(FloodFillTest, GivesThePlaceholderNothing) {
  const Group& placeholder = segment({"#"}).groups[0];
  EXPECT_EQ(placeholder.id, 0u);
  EXPECT_EQ(placeholder.numPixel, 0u);
  EXPECT_EQ(placeholder.xMax, 0);
  EXPECT_EQ(placeholder.yMax, 0);
  EXPECT_EQ(placeholder.overlapCount, 0u);
  EXPECT_EQ(placeholder.pixelStrength, 0.0f);
  EXPECT_EQ(placeholder.angleNorm, 0.1f);
  EXPECT_EQ(placeholder.ghostNorm, 0.1f);
  EXPECT_EQ(placeholder.strokeNorm, 0.1f);
  EXPECT_EQ(placeholder.scoreNorm, 0.1f);
  EXPECT_EQ(placeholder.placement, nullptr);
}

TEST_F(FloodFillTest, MeasuresAGroupOfOnePixel) {
  const Layer& layer = segment({"#.", ".."}, 255, 7);
  ASSERT_EQ(layer.groupCount, 1u);
  const Group& group = layer.groups[1];
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

TEST_F(FloodFillTest, BoxesEveryGroup) {
  const Layer& layer = segment({"......", ".##...", "..##..", "......", "#....#"});
  ASSERT_EQ(layer.groupCount, 3u);
  const Group& group = layer.groups[1];
  EXPECT_EQ(group.numPixel, 4u);
  EXPECT_EQ(group.xMin, 1);
  EXPECT_EQ(group.yMin, 1);
  EXPECT_EQ(group.xMax, 4);
  EXPECT_EQ(group.yMax, 3);
  EXPECT_EQ(group.spanX, 2);
  EXPECT_EQ(group.spanY, 1);
  EXPECT_EQ(layer.groups[3].xMin, 5);
  EXPECT_EQ(layer.groups[3].xMax, 6);
  EXPECT_EQ(layer.groups[3].yMin, 4);
  EXPECT_EQ(layer.groups[3].yMax, 5);
  EXPECT_EQ(layer.pixelCount, 6u);
}

TEST_F(FloodFillTest, BoxesReachTheLargestSlice) {
  Layer row = emptyLayer(65535, 1);
  std::fill_n(row.pixelBuffer.data(), 65535, materialPixel());
  const Group& group = segment(std::move(row)).groups.at(1);
  EXPECT_EQ(group.xMax, 65535);
  EXPECT_EQ(group.spanX, 65534);
  layers.clear();
  Layer column = emptyLayer(1, 65535);
  std::fill_n(column.pixelBuffer.data(), 65535, materialPixel());
  EXPECT_EQ(segment(std::move(column)).groups.at(1).yMax, 65535);
}

TEST_F(FloodFillTest, CountsBlueStrictlyBelowTheLimits) {
  const auto counts = [&](uint8_t blue) {
    layers.clear();
    const Group& group = segment({"#"}, blue).groups[1];
    return std::vector<uint32_t>{group.unsupportedPixelCount, group.almostNotBlueCount,
                                 group.islandBlueCount};
  };
  EXPECT_EQ(counts(49), (std::vector<uint32_t>{1, 1, 1}));
  EXPECT_EQ(counts(50), (std::vector<uint32_t>{1, 0, 0}));
  EXPECT_EQ(counts(254), (std::vector<uint32_t>{1, 0, 0}));
  EXPECT_EQ(counts(255), (std::vector<uint32_t>{0, 0, 0}));
  FloodFill::almostNotBlueCounterLimit = 50.5f;
  FloodFill::islandMinBlue = 1000.0f;
  EXPECT_EQ(counts(50), (std::vector<uint32_t>{1, 1, 1}));
  EXPECT_EQ(counts(51), (std::vector<uint32_t>{1, 0, 1}));
  EXPECT_EQ(counts(255), (std::vector<uint32_t>{0, 0, 0})) << "supported whatever the limit";
  FloodFill::almostNotBlueCounterLimit = -1.0f;
  FloodFill::islandMinBlue = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(counts(0), (std::vector<uint32_t>{1, 0, 0}));
}

TEST_F(FloodFillTest, CountsEveryPixelOfALongRow) {
  Layer layer = emptyLayer(1000, 1);
  for (std::size_t x = 0; x < 1000; ++x) {
    layer.pixelBuffer[x] = materialPixel(x % 4 == 0 ? 255 : static_cast<uint8_t>(x % 4 * 40));
  }
  const Group& group = segment(std::move(layer)).groups[1];
  EXPECT_EQ(group.unsupportedPixelCount, 750u);
  EXPECT_EQ(group.almostNotBlueCount, 250u);
  layers.clear();
  EXPECT_EQ(segment({std::string(1000, '#')}).groups[1].islandBlueCount, 1000u);
}

TEST_F(FloodFillTest, LabelsPixelsAndMarksTheHighestLayerOfEach) {
  segment({"##.", "..#"});
  EXPECT_EQ(valuesOf(layers[0].pixelBuffer),
            (std::vector<uint32_t>{0x80000001, 0x80000001, backgroundPixel, backgroundPixel,
                                   backgroundPixel, 0x80000001}));
  const Layer& second = segment({"#.#", "..."});
  EXPECT_EQ(second.pixelBuffer[2], 0x80000002u);
  EXPECT_EQ(valuesOf(top),
            (std::vector<uint32_t>{0xFE000001, 0xFE000000, 0xFE000001, 0, 0, 0xFE000000}));
}

TEST_F(FloodFillTest, MarksWithTheLowBitsOfTheLayersIndex) {
  Layer layer = draw({"#."});
  top = planeOf(std::vector<uint32_t>{0, 0});
  FloodFill fill;
  fill.layer = &layer;
  fill.layerIndex = 0x1000003;
  fill.topPixelBuffer = &top;
  fill.topPixelCount = top.size();
  fill.needBuffer = true;
  fill.run();
  EXPECT_EQ(valuesOf(top), (std::vector<uint32_t>{0xFE000003, 0}));
}

TEST_F(FloodFillTest, LeavesBackgroundAsTheHostSentIt) {
  Layer layer = draw({"#.", ".."});
  layer.pixelBuffer[1] = 0xFF332200;
  layer.pixelBuffer[2] = 0x00000000;
  const Layer& done = segment(std::move(layer));
  EXPECT_EQ(valuesOf(done.pixelBuffer),
            (std::vector<uint32_t>{0x80000001, 0xFF332200, 0x00000000, backgroundPixel}));
}

TEST_F(FloodFillTest, NeverReadsLabelsThatTheHostSent) {
  // Words like labels, in this slice and in the one below, are plain material or plain background.
  Layer below = emptyLayer(3, 1);
  below.pixelBuffer[0] = 0xFFFFFF00;
  below.pixelBuffer[1] = 0x80ABCDEF;
  segment(std::move(below));
  Layer layer = emptyLayer(3, 1);
  layer.pixelBuffer[0] = 0x80000005;
  layer.pixelBuffer[1] = 0x80000005;
  const Group& group = segment(std::move(layer)).groups.at(1);
  EXPECT_EQ(group.numPixel, 2u);
  EXPECT_EQ(overlapOf(group), (std::vector<uint32_t>{0, 1}));
}

TEST_F(FloodFillTest, GivesFirstLayerGroupsTheirWeight) {
  const Group& first = segment({"##"}).groups[1];
  EXPECT_EQ(first.strength, 2.0f);
  EXPECT_EQ(first.pixelStrength, 1.0f);
  EXPECT_EQ(first.islandDistance, 0u);
  const Group& second = segment({"##"}).groups[1];
  EXPECT_EQ(second.strength, 0.0f);
  EXPECT_EQ(second.pixelStrength, 0.0f);
}

TEST_F(FloodFillTest, ScansNothingWithoutAWidthOrAHeight) {
  EXPECT_EQ(segment(emptyLayer(0, 0)).groups.size(), 1u);
  EXPECT_EQ(segment(emptyLayer(0, 9)).groups.size(), 1u);
  EXPECT_EQ(segment(emptyLayer(9, 0)).groups.size(), 1u);
}

TEST_F(FloodFillTest, RefusesMaterialBeyondTheMarkers) {
  segment({"..", ".."});
  EXPECT_THROW(segment({"...", "...", "..#"}), std::out_of_range);
  EXPECT_EQ(layers.size(), 1u);
  EXPECT_THROW(segment({"....#"}), std::out_of_range);
  EXPECT_EQ(segment({"#..", "...", "..."}).groupCount, 1u) << "background there is no offence";
}

TEST_F(FloodFillTest, FindsTheSameGroupsWhenNobodyWantsTheBuffers) {
  needBuffer = false;
  Layer slice = draw({"##.#", "..#."}, 30);
  const std::vector<uint32_t> sent = valuesOf(slice.pixelBuffer);
  const Layer& layer = segment(std::move(slice));
  EXPECT_EQ(labelsOf(layer), (Rows{"11.2", "..1."}));
  EXPECT_EQ(layer.groups[1].almostNotBlueCount, 3u);
  EXPECT_EQ(valuesOf(layer.pixelBuffer), sent);
  EXPECT_EQ(valuesOf(top), std::vector<uint32_t>(8, 0));
}

}  // namespace
}  // namespace stiltforge
