#include "support/group_images.h"

#include <gtest/gtest.h>

#include "analysis/byte_pairs.h"
#include "core/stage_test.h"
#include "support/ghost_spread.h"

namespace stiltforge {
namespace {

using Bytes = std::vector<uint8_t>;

class GroupImagesTest : public StageTest {
 protected:
  // A layer whose group 1 lies on one row from column 5, with these unsupported pixels of its box
  // sampled: (column in the box, blue, green).
  struct Pixel {
    uint16_t column;
    uint8_t blue;
    uint8_t green;
  };
  void sample(uint16_t width, const std::vector<Pixel>& pixels) {
    layer.groups.clear();
    layer.groups.resize(2);
    Group& group = layer.groups[1];
    group.xMin = 5;
    group.xMax = static_cast<uint16_t>(5 + width);
    group.yMin = 3;
    group.yMax = 4;
    auto record = std::make_unique<SampleRecord>();
    Bytes blue;
    Bytes green;
    for (const Pixel& pixel : pixels) {
      const auto x = static_cast<uint16_t>(5 + pixel.column);
      record->rows.push_back({3, x, static_cast<uint16_t>(x + 1)});
      blue.push_back(pixel.blue);
      green.push_back(pixel.green);
    }
    packPairs(blue.data(), green.data(), blue.size(), record->packed);
    group.ensurePlacement().samples = std::move(record);
  }
  SampleRecord& record() { return *layer.groups[1].placement->samples; }
  GroupImages render(std::size_t group) {
    GhostSpread spread(settings.ghostRadius);
    spread.create();
    return renderGroup(layer, group, settings, spread);
  }
  Bytes image(GroupImages::Image which) { return render(1).images[which]; }

  Layer layer;
};

TEST_F(GroupImagesTest, AreZeroForAGroupThatWasNeverSampled) {
  sample(2, {});
  layer.groups[1].placement.reset();
  const GroupImages images = render(1);
  EXPECT_EQ(images.width, 2);
  EXPECT_EQ(images.height, 1);
  for (const Bytes& bytes : images.images) EXPECT_EQ(bytes, Bytes(8, 0));
}

using AnalysedGroupImages = ModelTest;

TEST_F(AnalysedGroupImages, OfASinglePixelAreOneClearPixel) {
  analyse({"..", ".#"});
  analyse({"#.", "##"});
  analyse({"#.", ".."});
  for (const std::size_t layer : {0, 2}) {
    const GroupImages images = model.renderGroup(layer, 1);
    EXPECT_EQ(images.width, 1);
    EXPECT_EQ(images.height, 1);
    for (const Bytes& bytes : images.images) EXPECT_EQ(bytes, Bytes(4, 0));
  }
}

TEST_F(GroupImagesTest, AreEmptyForThePlaceholder) {
  sample(2, {});
  const GroupImages images = render(0);
  EXPECT_EQ(images.width, 0);
  EXPECT_EQ(images.height, 0);
  for (const Bytes& bytes : images.images) EXPECT_TRUE(bytes.empty());
}

TEST_F(GroupImagesTest, LeavePixelsOutsideTheGroupClearButCombinedOpaque) {
  sample(1, {});
  const GroupImages images = render(1);
  for (int k = 0; k < GroupImages::imageCount; ++k) {
    EXPECT_EQ(images.images[static_cast<std::size_t>(k)],
              k == GroupImages::combined ? (Bytes{0, 0, 0, 255}) : (Bytes{0, 0, 0, 0}))
        << k;
  }
}

TEST_F(GroupImagesTest, MarkSamplesAndSupportPositions) {
  sample(3, {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}});
  record().stepX = 2;
  Voxel support;
  support.x = 6;
  support.y = 3;
  layer.groups[1].placement->supports = {support};
  EXPECT_EQ(image(GroupImages::sample),
            (Bytes{255, 255, 255, 255, 100, 100, 100, 255, 255, 255, 255, 255}));
  EXPECT_EQ(image(GroupImages::support),
            (Bytes{100, 100, 100, 255, 255, 255, 255, 255, 100, 100, 100, 255}));
  EXPECT_EQ(image(GroupImages::scoreSupport),
            (Bytes{0, 0, 0, 255, 0, 255, 255, 255, 0, 0, 0, 255}));
}

TEST_F(GroupImagesTest, ReproduceEveryBlueAndGreenByte) {
  std::vector<Pixel> pixels;
  for (uint16_t i = 0; i < 256; ++i) {
    pixels.push_back({i, static_cast<uint8_t>(i), static_cast<uint8_t>(255 - i)});
  }
  sample(256, pixels);
  const GroupImages images = render(1);
  for (std::size_t i = 0; i < 256; ++i) {
    EXPECT_EQ(images.images[GroupImages::angle][4 * i + 2], i);
    EXPECT_EQ(images.images[GroupImages::stroke][4 * i + 1], 255 - i);
    EXPECT_EQ(images.images[GroupImages::combined][4 * i + 2], i);
    EXPECT_EQ(images.images[GroupImages::combined][4 * i + 1], 255 - i);
    EXPECT_EQ(images.images[GroupImages::combined][4 * i + 3], 255);
  }
}

TEST_F(GroupImagesTest, MapTheLargestGhostSumAndScoreToWhite) {
  settings.ghostRadius = 2.0f;
  sample(3, {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}});
  Voxel ghost;
  ghost.x = 6;
  ghost.y = 3;
  layer.groups[1].placement->ghostSupports = {&ghost};
  record().ghostNorm = 255.0f;
  record().scoreNorm = 1.0f / 2.5f;
  const Bytes ghosts = image(GroupImages::ghost);
  EXPECT_EQ(ghosts, (Bytes{127, 0, 0, 255, 255, 0, 0, 255, 127, 0, 0, 255}));
  EXPECT_EQ(image(GroupImages::score)[4], 255);
  EXPECT_EQ(image(GroupImages::combined)[4], 255);
}

TEST_F(GroupImagesTest, KeepTheLowEightBitsOfAQuotient) {
  settings.ghostPart = 0.0f;
  settings.strokePart = 1.0f;
  settings.anglePart = 0.0f;
  sample(1, {{0, 0, 255}});
  record().scoreNorm = 255.0f / 257.5f;
  EXPECT_EQ(image(GroupImages::score)[0], 1);
  record().scoreNorm = -255.0f / 2.5f;
  EXPECT_EQ(image(GroupImages::score)[0], 254);
}

// Blue 255 is supported material: in the box, but no pixel of the sampled group.
TEST_F(GroupImagesTest, LeaveSupportedMaterialOut) {
  sample(3, {{0, 9, 9}, {2, 9, 9}});
  EXPECT_EQ(image(GroupImages::angle), (Bytes{0, 0, 9, 255, 0, 0, 0, 0, 0, 0, 9, 255}));
}

}  // namespace
}  // namespace stiltforge
