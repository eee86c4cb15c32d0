#include "analysis/fill_order.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "core/drawing.h"
#include "core/random.h"
#include "reference/flood_fill.h"

namespace stiltforge {
namespace {

// What requireMarkers() says, empty when it is content.
std::string complaint(const Picture& picture, std::size_t markers) {
  try {
    requireMarkers(sliceOf(picture), markers);
  } catch (const std::out_of_range& error) {
    return error.what();
  }
  return {};
}

// What the plain fill runs into when its markers end early.
std::string plainComplaint(const Picture& picture, std::size_t markers) {
  std::vector<uint32_t> top(markers);
  try {
    reference::floodFill(bytesOf(picture), picture.width, picture.height, {}, {}, top);
  } catch (const std::out_of_range& error) {
    return error.what();
  }
  return {};
}

TEST(FillOrder, IsContentWithMarkersForAllMaterial) {
  const Picture picture = draw({"##.", "#..", "..."});
  EXPECT_EQ(complaint(picture, 9), "");
  EXPECT_EQ(complaint(picture, 4), "") << "the last material pixel is number 3";
  EXPECT_NE(complaint(picture, 3), "");
  EXPECT_EQ(complaint(emptyPicture(0, 5), 0), "");
}

TEST(FillOrder, NamesTheFirstPixelThatTheFillReaches) {
  // The fill goes down the first column before it looks at the second.
  EXPECT_EQ(complaint(draw({"##", "##", "##"}), 1),
            "vector::_M_range_check: __n (which is 2) >= this->size() (which is 1)");
}

TEST(FillOrder, EqualsThatOfThePlainFill) {
  Random random(41);
  std::size_t complaints = 0;
  for (int i = 0; i < 20000; ++i) {
    Picture picture = emptyPicture(static_cast<uint16_t>(random.between(1, 12)),
                                   static_cast<uint16_t>(random.between(1, 12)));
    const uint32_t percent = random.below(101);
    for (uint32_t& pixel : picture.pixels) {
      if (random.below(100) < percent) pixel = materialPixel();
    }
    const auto markers = random.below(static_cast<uint32_t>(picture.pixels.size()) + 1);
    const std::string expected = plainComplaint(picture, markers);
    complaints += !expected.empty();
    ASSERT_EQ(complaint(picture, markers), expected) << "image " << i;
  }
  EXPECT_GT(complaints, 5000u);
}

}  // namespace
}  // namespace stiltforge
