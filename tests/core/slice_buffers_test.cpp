#include "analysis/slice_buffers.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "core/random.h"
#include "core/stage_test.h"

namespace stiltforge {
namespace {

class SliceBuffersTest : public LayersTest {};

TEST_F(SliceBuffersTest, OfAnEmptySliceAreItsBackground) {
  segment({"...", "..."});
  EXPECT_EQ(last.labels, std::vector<uint32_t>(6, backgroundPixel));
  EXPECT_EQ(last.supportValues, std::vector<uint8_t>(6, 0));
  EXPECT_EQ(last.markers, std::vector<uint32_t>(6, 0));
}

TEST_F(SliceBuffersTest, LabelPixelsAndMarkTheHighestLayerOfEach) {
  segment({"##.", "..#"});
  EXPECT_EQ(last.labels, (std::vector<uint32_t>{0x80000001, 0x80000001, backgroundPixel,
                                                backgroundPixel, backgroundPixel, 0x80000001}));
  segment({"#.#", "..."});
  EXPECT_EQ(last.labels[2], 0x80000002u);
  EXPECT_EQ(last.markers,
            (std::vector<uint32_t>{0xFE000001, 0xFE000000, 0xFE000001, 0, 0, 0xFE000000}));
  EXPECT_EQ(valuesOf(record), last.markers);
}

TEST_F(SliceBuffersTest, MarkWithTheLowBitsOfTheLayersIndex) {
  const Picture picture = draw({"#."});
  segment(picture);
  fillBuffers(layers[0], 0x1000003, record, last.buffers());
  EXPECT_EQ(last.markers, (std::vector<uint32_t>{0xFE000003, 0}));
}

TEST_F(SliceBuffersTest, LeaveBackgroundAsTheHostSentIt) {
  Picture picture = draw({"#.", ".."});
  picture.pixels[1] = 0xFF332200;
  picture.pixels[2] = 0x00000000;
  segment(picture);
  EXPECT_EQ(last.labels,
            (std::vector<uint32_t>{0x80000001, 0xFF332200, 0x00000000, backgroundPixel}));
}

TEST_F(SliceBuffersTest, TellTheSupportValuesOfMaterial) {
  Picture picture = draw({"####", ".##."}, 255);
  picture.pixels[1] = materialPixel(254);
  picture.pixels[2] = materialPixel(0);
  picture.pixels[4] = 0xFF770000;
  segment(picture);
  EXPECT_EQ(last.supportValues, (std::vector<uint8_t>{255, 254, 0, 255, 0, 255, 255, 0}));
}

TEST_F(SliceBuffersTest, WithoutAPictureHavePlainBackground) {
  segment({"#.", ".#"});
  SliceBuffers buffers = last.buffers();
  buffers.picture = nullptr;
  fillBuffers(layers[0], 0, record, buffers);
  EXPECT_EQ(last.labels,
            (std::vector<uint32_t>{0x80000001, backgroundPixel, backgroundPixel, 0x80000001}));
}

TEST_F(SliceBuffersTest, LeaveThePictureAloneWhereLabelsHaveABlockOfTheirOwn) {
  const Picture picture = draw({"#.", ".#"});
  segment(picture);
  SliceBuffers buffers = last.buffers();
  buffers.picture = picture.pixels.data();
  fillBuffers(layers[0], 0, record, buffers);
  EXPECT_EQ(last.labels[0], 0x80000001u);
  EXPECT_EQ(picture.pixels[0], materialPixel());
}

// The model's slices may become larger while the room for markers stays.
TEST_F(SliceBuffersTest, HaveNoMarkersBeyondTheRecord) {
  segment({"#.", ".#"});
  segment({"#....", "....."});
  EXPECT_EQ(last.markers, (std::vector<uint32_t>{0xFE000001, 0, 0, 0xFE000000, 0, 0, 0, 0, 0, 0}));
}

TEST_F(SliceBuffersTest, EqualAPixelByPixelWalk) {
  Random random(61);
  for (int i = 0; i < 300; ++i) {
    layers.clear();
    const auto width = static_cast<uint16_t>(random.between(1, 90));
    const auto height = static_cast<uint16_t>(random.between(1, 150));
    Picture picture = emptyPicture(width, height);
    for (uint32_t& pixel : picture.pixels) {
      if (random.oneIn(3)) continue;
      pixel = materialPixel(random.oneIn(2) ? 255 : static_cast<uint8_t>(random.below(256)));
    }
    const std::vector<uint32_t> labels = labelPlane(segment(picture));
    for (std::size_t k = 0; k < labels.size(); ++k) {
      const bool solid = labels[k] != 0;
      ASSERT_EQ(last.labels[k], solid ? 0x80000000u + labels[k] : backgroundPixel);
      ASSERT_EQ(last.markers[k], solid ? 0xFE000000u : 0u);
      ASSERT_EQ(last.supportValues[k], solid ? picture.pixels[k] >> 16 & 0xFF : 0);
    }
  }
}

}  // namespace
}  // namespace stiltforge
