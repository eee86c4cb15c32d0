#include "analysis/run_labelling.h"

#include <gtest/gtest.h>

#include "core/drawing.h"
#include "core/labelled_layer.h"
#include "core/random.h"
#include "reference/flood_fill.h"

namespace stiltforge {
namespace {

// The fill of vertical runs, stack and all, gives the labels that count.
testing::AssertionResult agreesWithTheFill(const Picture& picture) {
  std::vector<uint32_t> top(picture.pixels.size());
  const reference::Layer filled =
      reference::floodFill(bytesOf(picture), picture.width, picture.height, {}, {}, top);
  const Layer layer = labelled(picture);
  if (layer.groupCount == filled.groupCount && labelPlane(layer) == filled.labels) {
    return testing::AssertionSuccess();
  }
  testing::AssertionResult failure = testing::AssertionFailure();
  failure << layer.groupCount << " groups instead of " << filled.groupCount;
  if (layer.width > 100) return failure;
  for (const std::string& row : labelsOf(layer)) failure << "\n" << row;
  return failure;
}

TEST(RunLabelling, JoinsEdgeNeighbours) {
  EXPECT_EQ(labelsOf(labelled(draw({"##.##",  //
                                    "#...#",  //
                                    "#.#.#",  //
                                    "###.#"}))),
            (Rows{"11.22",  //
                  "1...2",  //
                  "1.1.2",  //
                  "111.2"}));
}

TEST(RunLabelling, NumbersGroupsByTheirFirstPixels) {
  EXPECT_EQ(labelsOf(labelled(draw({"...#.#",  //
                                    ".....#",  //
                                    "#.####"}))),
            (Rows{"...1.2",  //
                  ".....2",  //
                  "3.2222"}));
}

TEST(RunLabelling, JoinsAPixelToTheCornerBelowIt) {
  EXPECT_EQ(labelsOf(labelled(draw({"#.", ".#"}))), (Rows{"1.", ".1"}));
  EXPECT_EQ(labelsOf(labelled(draw({".#", "#."}))), (Rows{".1", "1."}));
}

TEST(RunLabelling, NeverLooksDiagonallyUpwards) {
  EXPECT_EQ(labelsOf(labelled(draw({"#...", "#..#", "###."}))), (Rows{"1...", "1..2", "111."}));
}

TEST(RunLabelling, FollowsCornersThroughSeveralRegions) {
  EXPECT_EQ(labelsOf(labelled(draw({"#....",  //
                                    ".#...",  //
                                    "..#.#",  //
                                    "...#."}))),
            (Rows{"1....",  //
                  ".1...",  //
                  "..1.2",  //
                  "...1."}));
}

TEST(RunLabelling, LeavesARegionToTheGroupThatTookItFirst) {
  // The middle column hangs on the corners of both outer ones; the left one is filled first.
  EXPECT_EQ(labelsOf(labelled(draw({"#.#", "#.#", ".#."}))), (Rows{"1.2", "1.2", ".1."}));
  // From the right the corner leads into a region that a later seed would have started.
  EXPECT_EQ(labelsOf(labelled(draw({"..#", "##.", "#.."}))), (Rows{"..1", "11.", "1.."}));
}

TEST(RunLabelling, EqualsTheFillOnEveryImageOfUpToSixteenPixels) {
  for (uint32_t width = 1; width <= 16; ++width) {
    for (uint32_t height = 1; width * height <= 16; ++height) {
      for (uint32_t image = 0; image < uint32_t{1} << (width * height); ++image) {
        Picture picture = emptyPicture(static_cast<uint16_t>(width), static_cast<uint16_t>(height));
        for (uint32_t i = 0; i < width * height; ++i) {
          if ((image >> i) & 1) picture.pixels[i] = materialPixel();
        }
        ASSERT_TRUE(agreesWithTheFill(picture));
      }
    }
  }
}

// From scattered pixels to nearly full, with stretches along either axis.
Picture randomImage(Random& random) {
  const auto width = static_cast<uint16_t>(random.between(1, 24));
  const auto height = static_cast<uint16_t>(random.between(1, 24));
  Picture picture = emptyPicture(width, height);
  const uint32_t percent = 5 + random.below(90);
  const uint32_t persistence = random.below(95);
  const bool alongColumns = random.oneIn(2);
  for (uint32_t y = 0; y < height; ++y) {
    for (uint32_t x = 0; x < width; ++x) {
      const bool hasNeighbour = alongColumns ? y > 0 : x > 0;
      const std::size_t i = std::size_t{y} * width + x;
      if (hasNeighbour && random.below(100) < persistence) {
        picture.pixels[i] = picture.pixels[alongColumns ? i - width : i - 1];
      } else if (random.below(100) < percent) {
        picture.pixels[i] = materialPixel();
      }
    }
  }
  return picture;
}

TEST(RunLabelling, EqualsTheFillOnRandomImages) {
  Random random(21);
  for (int i = 0; i < 60000; ++i) {
    ASSERT_TRUE(agreesWithTheFill(randomImage(random))) << "image " << i;
  }
}

// The larger sides give so many runs that rows are labelled in several bands.
TEST(RunLabelling, EqualsTheFillOnPatternsOfManyCorners) {
  Random random(22);
  for (const uint16_t side : {63, 64, 65, 129, 900}) {
    for (int pattern = 0; pattern < 7; ++pattern) {
      Picture picture = emptyPicture(side, side);
      for (uint32_t y = 0; y < side; ++y) {
        for (uint32_t x = 0; x < side; ++x) {
          const bool solid = pattern == 0   ? (x + y) % 2 == 0
                             : pattern == 1 ? (x + y) % 3 == 0
                             : pattern == 2 ? (x + 2 * side - y) % 3 == 0
                             : pattern == 3 ? x % 2 == 0 || y == 0
                             : pattern == 4 ? x % 2 == 0 || y + 1 == side
                                            : random.oneIn(pattern == 5 ? 2 : 5);
          if (solid) picture.pixels[y * side + x] = materialPixel();
        }
      }
      ASSERT_TRUE(agreesWithTheFill(picture)) << side << ", pattern " << pattern;
    }
  }
}

}  // namespace
}  // namespace stiltforge
