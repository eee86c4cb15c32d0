#include "analysis/slice_from_runs.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/drawing.h"
#include "core/random.h"

namespace stiltforge {
namespace {

// The arrays of a host. `height` is that of the slice, which may be another than the arrays'.
struct Given {
  std::vector<uint32_t> rowStart;
  std::vector<uint16_t> begin;
  std::vector<uint16_t> end;
  std::vector<uint8_t> blue = {};
  std::vector<uint8_t> green = {};

  HostRuns runs() const { return {rowStart, begin, end}; }
  HostOverhang overhang() const { return {runs(), blue, green}; }
};

Given arraysOf(const RunRows& rows) {
  Given given;
  for (int y = 0; y <= rows.height(); ++y) {
    given.rowStart.push_back(rows.rowStart(static_cast<std::size_t>(y)));
  }
  for (std::size_t i = 0; i < rows.runCount(); ++i) {
    given.begin.push_back(rows[i].begin);
    given.end.push_back(rows[i].end);
  }
  return given;
}

// Three rows of ten pixels: "##..####..", empty, "..........".
const Given material = {{0, 2, 2, 2}, {0, 4}, {2, 8}};

std::string refusalOf(const Given& runs, const Given* overhang = nullptr) {
  try {
    const HostOverhang given = overhang ? overhang->overhang() : HostOverhang{};
    sliceFromRuns(10, 3, runs.runs(), overhang ? &given : nullptr);
  } catch (const InvalidSlice& refused) {
    return refused.what();
  }
  return "none";
}

std::string overhangRefusal(const Given& overhang) {
  return refusalOf(material, &overhang);
}

TEST(SliceFromRuns, TakesTheRunsOfEachRowAsTheyAre) {
  const Slice slice = sliceFromRuns(10, 3, material.runs());
  EXPECT_EQ(slice.width, 10);
  EXPECT_EQ(slice.height, 3);
  EXPECT_TRUE(slice.material == sliceOf(draw({"##..####..", "..........", ".........."})).material);
  EXPECT_TRUE(slice.overhang.empty());
  EXPECT_EQ(slice.overhang.height(), 3);
}

TEST(SliceFromRuns, TakesTheChannelsOfTheOverhang) {
  const Given overhang = {{0, 2, 2, 2}, {1, 5}, {2, 8}, {9, 0, 254, 3}, {0, 255, 1, 2}};
  const HostOverhang given = overhang.overhang();
  const Slice slice = sliceFromRuns(10, 3, material.runs(), &given);
  EXPECT_EQ(slice.overhang[0], (stiltforge::Run{1, 2}));
  EXPECT_EQ(slice.overhang[1], (stiltforge::Run{5, 8}));
  EXPECT_EQ(std::vector<uint8_t>(slice.blue.begin(), slice.blue.end()), overhang.blue);
  EXPECT_EQ(std::vector<uint8_t>(slice.green.begin(), slice.green.end()), overhang.green);
}

TEST(SliceFromRuns, JoinsRunsThatTouch) {
  const Given cut = {{0, 3, 3, 4}, {0, 2, 4, 0}, {2, 4, 6, 10}};
  const Given overhang = {{0, 2, 2, 2}, {1, 3}, {3, 5}, {1, 2, 3, 4}, {0, 0, 0, 0}};
  const HostOverhang given = overhang.overhang();
  const Slice slice = sliceFromRuns(10, 3, cut.runs(), &given);
  EXPECT_TRUE(slice.material == sliceOf(draw({"######....", "..........", "##########"})).material);
  ASSERT_EQ(slice.overhang.runCount(), 1u);
  EXPECT_EQ(slice.overhang[0], (stiltforge::Run{1, 5}));
}

TEST(SliceFromRuns, DoesNotJoinRunsOfTwoRows) {
  const Given rows = {{0, 1, 2, 2}, {5, 0}, {10, 5}};
  const Slice slice = sliceFromRuns(10, 3, rows.runs());
  EXPECT_EQ(slice.material.runCount(), 2u);
}

TEST(SliceFromRuns, TakesASliceWithoutPixels) {
  EXPECT_TRUE(sliceFromRuns(0, 0, Given{{0}, {}, {}}.runs()).material.empty());
  EXPECT_EQ(sliceFromRuns(0, 5, Given{{0, 0, 0, 0, 0, 0}, {}, {}}.runs()).material.height(), 5);
}

TEST(SliceFromRuns, ReachesTheLastColumnOfTheWidestSlice) {
  const Slice slice = sliceFromRuns(65535, 1, Given{{0, 1}, {0}, {65535}}.runs());
  EXPECT_EQ(slice.material.pixelCount(), 65535u);
}

TEST(SliceFromRuns, NeedsARowStartForEachRowAndOneMore) {
  EXPECT_EQ(refusalOf({{0, 0, 0}, {}, {}}),
            "The material has 3 row starts; a slice of 3 rows needs 4, one for each row and the "
            "number of runs as the last.");
  EXPECT_EQ(refusalOf({{}, {}, {}}),
            "The material has 0 row starts; a slice of 3 rows needs 4, one for each row and the "
            "number of runs as the last.");
  EXPECT_EQ(refusalOf({{1, 2, 2, 2}, {0, 4}, {2, 8}}),
            "The row starts of the material begin with 1; row 0 starts with run 0.");
}

TEST(SliceFromRuns, NeedsRowStartsThatAscendToTheNumberOfRuns) {
  EXPECT_EQ(refusalOf({{0, 2, 1, 2}, {0, 4}, {2, 8}}),
            "The row starts of the material fall from 2 to 1 after row 1; each row starts where "
            "the one above ends.");
  EXPECT_EQ(refusalOf({{0, 2, 3, 3}, {0, 4}, {2, 8}}),
            "Row 1 of the material ends with run 3, but there are 2 runs.");
  EXPECT_EQ(refusalOf({{0, 4294967295, 0, 0}, {0}, {2}}),
            "Row 0 of the material ends with run 4294967295, but there is 1 run.");
  EXPECT_EQ(refusalOf({{0, 1, 1, 1}, {0, 4}, {2, 8}}),
            "The row starts of the material end with 1, but there are 2 runs; the last is the "
            "number of all runs.");
}

TEST(SliceFromRuns, NeedsBothEndsOfEachRun) {
  EXPECT_EQ(refusalOf({{0, 2, 2, 2}, {0, 4}, {2}}),
            "The runs of the material have 2 begins and 1 end; each run has one of both.");
}

TEST(SliceFromRuns, NeedsRunsWithPixelsOfTheSlice) {
  EXPECT_EQ(refusalOf({{0, 0, 1, 1}, {4}, {4}}),
            "Row 1 of the material has a run of columns 4 to 4; a run ends after it begins, its "
            "end is not part of it.");
  EXPECT_EQ(refusalOf({{0, 0, 0, 1}, {4}, {3}}),
            "Row 2 of the material has a run of columns 4 to 3; a run ends after it begins, its "
            "end is not part of it.");
  EXPECT_EQ(refusalOf({{0, 0, 1, 1}, {4}, {11}}),
            "Row 1 of the material has a run of columns 4 to 11, but the slice is 10 pixels wide.");
}

TEST(SliceFromRuns, NeedsRunsThatAscend) {
  const std::string rule = "; the runs of a row ascend and do not overlap.";
  EXPECT_EQ(refusalOf({{0, 2, 2, 2}, {0, 4}, {5, 8}}),
            "Row 0 of the material has columns 4 to 8 after a run that ends at 5" + rule);
  EXPECT_EQ(refusalOf({{0, 2, 2, 2}, {4, 0}, {8, 2}}),
            "Row 0 of the material has columns 0 to 2 after a run that ends at 8" + rule);
}

TEST(SliceFromRuns, ChecksTheRunsOfTheOverhangLikeThoseOfTheMaterial) {
  EXPECT_EQ(overhangRefusal({{0, 1, 1, 1}, {4}, {11}, {0}, {0}}),
            "Row 0 of the overhang has a run of columns 4 to 11, but the slice is 10 pixels wide.");
  EXPECT_EQ(overhangRefusal({{0}, {}, {}}),
            "The overhang has 1 row start; a slice of 3 rows needs 4, one for each row and the "
            "number of runs as the last.");
}

TEST(SliceFromRuns, NeedsOverhangWithinARunOfTheMaterial) {
  EXPECT_EQ(overhangRefusal({{0, 1, 1, 1}, {1}, {5}, {0, 0, 0, 0}, {0, 0, 0, 0}}),
            "Row 0 overhangs at columns 1 to 5, which is not within one run of its material.");
  EXPECT_EQ(overhangRefusal({{0, 0, 1, 1}, {4}, {5}, {0}, {0}}),
            "Row 1 overhangs at columns 4 to 5, which is not within one run of its material.");
  EXPECT_EQ(overhangRefusal({{0, 1, 1, 1}, {7}, {9}, {0, 0}, {0, 0}}),
            "Row 0 overhangs at columns 7 to 9, which is not within one run of its material.");
}

TEST(SliceFromRuns, NeedsTheChannelsOfEachOverhangingPixel) {
  EXPECT_EQ(overhangRefusal({{0, 1, 1, 1}, {4}, {7}, {0, 1, 2}, {0}}),
            "The overhang has 3 pixels, but 3 blue values and 1 green value; each pixel has one of "
            "both.");
}

TEST(SliceFromRuns, NeedsOverhangThatIsNotFullySupported) {
  EXPECT_EQ(overhangRefusal({{0, 2, 2, 2}, {0, 4}, {2, 7}, {0, 1, 2, 255, 0}, {0, 0, 0, 0, 0}}),
            "Row 0 has blue 255 at column 5 of its overhang, which is full support; leave such "
            "pixels out.");
}

TEST(SliceFromRuns, GivesTheSliceThatAPictureGives) {
  Random random(5);
  for (int i = 0; i < 300; ++i) {
    Picture picture = emptyPicture(static_cast<uint16_t>(random.between(1, 60)),
                                   static_cast<uint16_t>(random.between(1, 20)));
    for (uint32_t& pixel : picture.pixels) {
      const auto blue = static_cast<uint8_t>(random.oneIn(2) ? 255 : random.below(255));
      if (!random.oneIn(4)) pixel = materialPixel(blue, static_cast<uint8_t>(random.below(256)));
    }
    const Slice expected = sliceOf(picture);
    const Given runs = arraysOf(expected.material);
    Given overhanging = arraysOf(expected.overhang);
    overhanging.blue.assign(expected.blue.begin(), expected.blue.end());
    overhanging.green.assign(expected.green.begin(), expected.green.end());
    const HostOverhang overhang = overhanging.overhang();
    const Slice slice = sliceFromRuns(picture.width, picture.height, runs.runs(), &overhang);
    ASSERT_TRUE(slice.material == expected.material);
    ASSERT_TRUE(slice.overhang == expected.overhang);
    ASSERT_EQ(slice.blue, expected.blue);
    ASSERT_EQ(slice.green, expected.green);
  }
}

}  // namespace
}  // namespace stiltforge
