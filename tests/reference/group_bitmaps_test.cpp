#include "reference/group_bitmaps.h"

#include <gtest/gtest.h>

namespace stiltforge::reference {
namespace {

using Bytes = std::vector<uint8_t>;

// A group on one row from column 5 with one voxel per pixel.
Group row(uint16_t width) {
  Group group;
  group.xMin = 5;
  group.xMax = static_cast<uint16_t>(5 + width);
  group.yMax = 1;
  group.angleNorm = group.strokeNorm = 255.0f;
  for (uint16_t i = 0; i < width; ++i) {
    group.samples.push_back(std::make_unique<Voxel>());
    group.samples.back()->x = static_cast<uint16_t>(5 + i);
    group.samples.back()->inGroup = true;
  }
  return group;
}

TEST(GroupBitmaps, AreZeroBytesForAnUnsampledGroup) {
  for (const uint16_t width : {1, 2}) {
    Group group = row(width);
    group.samples.clear();
    for (const Bytes& image : groupBitmaps(group).images) {
      EXPECT_EQ(image, Bytes(std::size_t{4} * width, 0));
    }
  }
}

TEST(GroupBitmaps, AreEmptyForThePlaceholder) {
  const GroupBitmaps bitmaps = groupBitmaps(Group());
  EXPECT_EQ(bitmaps.width, 0);
  EXPECT_EQ(bitmaps.height, 0);
  for (const Bytes& image : bitmaps.images) EXPECT_TRUE(image.empty());
}

TEST(GroupBitmaps, LeavePixelsOutsideTheGroupClearButCombinedOpaque) {
  Group group = row(1);
  group.samples[0]->inGroup = false;
  const GroupBitmaps bitmaps = groupBitmaps(group);
  for (const GroupImage image : {sampleBitmap, ghostBitmap, angleBitmap, scoreBitmap,
                                 scoreSupportBitmap, supportBitmap, strokeBitmap}) {
    EXPECT_EQ(bitmaps.images[image], (Bytes{0, 0, 0, 0}));
  }
  EXPECT_EQ(bitmaps.images[combinedBitmap], (Bytes{0, 0, 0, 255}));
}

TEST(GroupBitmaps, MarkSamplesAndSupportPositions) {
  Group group = row(2);
  group.samples[0]->isSample = true;
  group.supports.push_back(std::make_unique<Voxel>());
  group.supports[0]->x = 6;
  const GroupBitmaps bitmaps = groupBitmaps(group);
  EXPECT_EQ(bitmaps.images[sampleBitmap], (Bytes{255, 255, 255, 255, 100, 100, 100, 255}));
  EXPECT_EQ(bitmaps.images[supportBitmap], (Bytes{100, 100, 100, 255, 255, 255, 255, 255}));
  EXPECT_EQ(bitmaps.images[scoreSupportBitmap], (Bytes{0, 0, 0, 255, 0, 255, 255, 255}));
}

TEST(GroupBitmaps, ReproduceEveryBlueAndGreenByte) {
  Group group = row(256);
  for (size_t i = 0; i < 256; ++i) {
    group.samples[i]->angleSum = static_cast<float>(i);
    group.samples[i]->strokeSum = static_cast<float>(255 - i);
  }
  const GroupBitmaps bitmaps = groupBitmaps(group);
  for (size_t i = 0; i < 256; ++i) {
    EXPECT_EQ(bitmaps.images[angleBitmap][4 * i + 2], i);
    EXPECT_EQ(bitmaps.images[strokeBitmap][4 * i + 1], 255 - i);
    EXPECT_EQ(bitmaps.images[combinedBitmap][4 * i + 2], i);
    EXPECT_EQ(bitmaps.images[combinedBitmap][4 * i + 1], 255 - i);
  }
}

TEST(GroupBitmaps, KeepTheLowEightBitsOfAScore) {
  Group group = row(3);
  group.scoreNorm = 1.0f;
  group.samples[0]->score = 1.0f;
  group.samples[1]->score = 257.5f / 255.0f;
  group.samples[2]->score = -2.5f / 255.0f;
  const GroupBitmaps bitmaps = groupBitmaps(group);
  EXPECT_EQ(bitmaps.images[scoreBitmap][0], 255);
  EXPECT_EQ(bitmaps.images[scoreBitmap][4], 1);
  EXPECT_EQ(bitmaps.images[scoreBitmap][8], 254);
}

}  // namespace
}  // namespace stiltforge::reference
