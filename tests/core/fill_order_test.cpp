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
std::string complaint(const Layer& layer, std::size_t markers) {
  try {
    requireMarkers(layer, markers);
  } catch (const std::out_of_range& error) {
    return error.what();
  }
  return {};
}

// What the plain fill runs into when its markers end early.
std::string plainComplaint(const Layer& layer, std::size_t markers) {
  std::vector<uint32_t> top(markers);
  try {
    reference::floodFill(bytesOf(layer), layer.width, layer.height, {}, {}, top);
  } catch (const std::out_of_range& error) {
    return error.what();
  }
  return {};
}

TEST(FillOrder, IsContentWithMarkersForAllMaterial) {
  const Layer layer = draw({"##.", "#..", "..."});
  EXPECT_EQ(complaint(layer, 9), "");
  EXPECT_EQ(complaint(layer, 4), "") << "the last material pixel is number 3";
  EXPECT_NE(complaint(layer, 3), "");
  EXPECT_EQ(complaint(emptyLayer(0, 5), 0), "");
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
    Layer layer = emptyLayer(static_cast<uint16_t>(random.between(1, 12)),
                             static_cast<uint16_t>(random.between(1, 12)));
    const uint32_t percent = random.below(101);
    for (std::size_t k = 0; k < layer.pixelBuffer.size(); ++k) {
      if (random.below(100) < percent) layer.pixelBuffer[k] = materialPixel();
    }
    const auto markers = random.below(static_cast<uint32_t>(layer.pixelBuffer.size()) + 1);
    const std::string expected = plainComplaint(layer, markers);
    complaints += !expected.empty();
    ASSERT_EQ(complaint(layer, markers), expected) << "image " << i;
  }
  EXPECT_GT(complaints, 5000u);
}

}  // namespace
}  // namespace stiltforge
