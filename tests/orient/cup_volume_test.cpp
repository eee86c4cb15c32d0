#include "orient/cup_volume.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace stiltforge::orient {
namespace {

using Picture = std::vector<std::string>;

const Picture ring{".....", ".###.", ".#.#.", ".###.", "....."};
const Picture gap{".....", ".###.", ".#...", ".###.", "....."};
const Picture full{".....", ".###.", ".###.", ".###.", "....."};

uint64_t cupPixels(const std::vector<Picture>& layers) {
  CupVolume cups;
  for (const Picture& picture : layers) {
    Slice slice;
    slice.width = static_cast<uint16_t>(picture[0].size());
    slice.height = static_cast<uint16_t>(picture.size());
    for (const std::string& row : picture) {
      for (int x = 0; x < slice.width; ++x) {
        if (row[static_cast<std::size_t>(x)] == '#') slice.material.add(x, x + 1);
      }
      slice.material.endRow();
    }
    cups.add(slice);
  }
  return cups.pixels();
}

TEST(CupVolume, OfASolidIsNone) {
  EXPECT_EQ(cupPixels({full, full}), 0u);
}

TEST(CupVolume, OfABowlIsWhatItHolds) {
  EXPECT_EQ(cupPixels({full, ring, ring}), 2u);
}

TEST(CupVolume, OfABellOnThePlateIsWhatIsUnderIt) {
  EXPECT_EQ(cupPixels({ring, ring, full}), 2u);
}

TEST(CupVolume, OfASealedVoidIsItsOwn) {
  EXPECT_EQ(cupPixels({full, ring, full}), 1u);
}

TEST(CupVolume, EndsWhereAHoleLetsTheResinIn) {
  EXPECT_EQ(cupPixels({gap, ring, ring}), 0u) << "open at the plate";
  EXPECT_EQ(cupPixels({full, ring, gap, ring}), 1u) << "open from the second layer on";
}

}  // namespace
}  // namespace stiltforge::orient
