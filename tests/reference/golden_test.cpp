#include <gtest/gtest.h>

#include "golden/golden_stack.h"
#include "reference/analyse_stack.h"

namespace stiltforge::reference {
namespace {

using nlohmann::ordered_json;

ordered_json layerObject(const SliceResult& slice) {
  ordered_json groups = ordered_json::array();
  for (const GroupResult& group : slice.groups) {
    ordered_json supports = ordered_json::array();
    for (const SupportResult& support : group.supports) {
      supports.push_back(
          {{"x", support.x}, {"y", support.y}, {"z", support.z}, {"isMinima", support.isMinima}});
    }
    groups.push_back({{"numPixel", group.numPixel},
                      {"supportedPixel", group.supportedPixel},
                      {"supports", supports},
                      {"xMin", group.xMin},
                      {"yMin", group.yMin},
                      {"xMax", group.xMax},
                      {"yMax", group.yMax}});
  }
  return {{"width", slice.width},
          {"height", slice.height},
          {"pixelCount", slice.pixelCount},
          {"groupCount", slice.groupCount},
          {"groups", groups}};
}

class GoldenStackTest : public testing::TestWithParam<std::string> {};

TEST_P(GoldenStackTest, GivesTheRecordedResults) {
  const golden::GoldenStack expected = golden::load(GetParam());
  const std::vector<SliceResult> slices = analyseStack(expected.stack);

  ASSERT_EQ(slices.size(), expected.slices.size());
  size_t groupCount = 0;
  for (size_t i = 0; i < slices.size(); ++i) {
    SCOPED_TRACE("slice " + std::to_string(i));
    EXPECT_EQ(layerObject(slices[i]).dump(), expected.slices[i].layer.dump());
    EXPECT_EQ(slices[i].supportCount, expected.slices[i].supportCount);
    EXPECT_EQ(golden::digest(slices[i].pixelBuffer), expected.slices[i].pixelBuffer);
    EXPECT_EQ(golden::digest(slices[i].topPixelBuffer), expected.slices[i].topPixelBuffer);
    EXPECT_EQ(golden::digest(slices[i].supportedPixels), expected.slices[i].supportedPixels);
    groupCount += slices[i].groups.size();
  }
  ASSERT_EQ(groupCount, expected.groups.size());
  for (const golden::ExpectedGroup& group : expected.groups) {
    SCOPED_TRACE("slice " + std::to_string(group.layerIndex) + ", group " +
                 std::to_string(group.groupIndex));
    const GroupBitmaps& bitmaps =
        slices.at(group.layerIndex).groups.at(group.groupIndex - 1).bitmaps;
    EXPECT_EQ(bitmaps.width, group.width);
    EXPECT_EQ(bitmaps.height, group.height);
    for (size_t k = 0; k < bitmaps.images.size(); ++k) {
      EXPECT_EQ(golden::digest(bitmaps.images[k]), group.images[k]) << "image " << k;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Reference, GoldenStackTest, testing::ValuesIn(golden::stackNames()),
                         [](const auto& test) {
                           std::string name = test.param;
                           for (char& c : name) c = c == '-' ? '_' : c;
                           return name;
                         });

}  // namespace
}  // namespace stiltforge::reference
