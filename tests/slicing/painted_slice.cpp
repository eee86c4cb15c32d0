#include "slicing/painted_slice.h"

#include <gtest/gtest.h>

#include <cstddef>

namespace stiltforge::slicing {

Slice sliceOf(const std::vector<uint8_t>& rgba, int width) {
  Slice slice;
  slice.width = static_cast<uint16_t>(width);
  for (const uint8_t* pixel = rgba.data(); pixel != rgba.data() + rgba.size();) {
    for (int x = 0; x < width; ++x, pixel += 4) {
      if (pixel[0] == 0) continue;
      slice.material.add(x, x + 1);
      if (pixel[2] == 255) continue;
      slice.overhang.add(x, x + 1);
      slice.blue.push_back(pixel[2]);
      slice.green.push_back(pixel[1]);
    }
    slice.material.endRow();
    slice.overhang.endRow();
    ++slice.height;
  }
  return slice;
}

void expectEqual(const Slice& actual, const Slice& expected) {
  EXPECT_EQ(actual.width, expected.width);
  EXPECT_EQ(actual.height, expected.height);
  EXPECT_TRUE(actual.material == expected.material);
  EXPECT_TRUE(actual.overhang == expected.overhang);
  EXPECT_TRUE(actual.blue == expected.blue);
  EXPECT_TRUE(actual.green == expected.green);
}

void expectEqual(std::span<const Slice> actual, std::span<const Slice> expected) {
  ASSERT_EQ(actual.size(), expected.size());
  for (std::size_t i = 0; i < actual.size(); ++i) {
    expectEqual(actual[i], expected[i]);
    if (testing::Test::HasFailure()) FAIL() << "slice " << i;
  }
}

}  // namespace stiltforge::slicing
