#include "analysis/group_counts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include "core/labelled_layer.h"
#include "core/random.h"
#include "core/stage_test.h"
#include "reference/flood_fill.h"
#include "runtime/worker_pool.h"

namespace stiltforge {
namespace {

// What is counted of a group.
template <typename Counted>
std::array<uint32_t, 8> countsOf(const Counted& group) {
  return {group.numPixel,
          group.unsupportedPixelCount,
          group.almostNotBlueCount,
          group.islandBlueCount,
          group.xMin,
          group.yMin,
          group.xMax,
          group.yMax};
}

// Counts are made in bands of rows and joined in chunks of groups, so these slices have many of
// both, and each is counted by several numbers of workers.
class GroupCounts : public StageTest {
 protected:
  void SetUp() override {
    settings.almostNotBlueCounterLimit = parameters.almostNotBlueCounterLimit = 200.0f;
    settings.islandMinBlue = parameters.islandMinBlue = 50.5f;
  }
  void TearDown() override { workers::setCount(usual); }

  // A pixel of any support value, with those around the limits and the largest more often.
  uint32_t randomPixel() {
    constexpr std::array<uint8_t, 8> chosen = {0, 50, 51, 199, 200, 201, 254, 255};
    return materialPixel(random.oneIn(2) ? chosen[random.below(chosen.size())]
                                         : static_cast<uint8_t>(random.below(256)));
  }

  void expectPlainCounts(const Picture& drawn) {
    std::vector<uint32_t> top(drawn.pixels.size());
    const reference::Layer plain =
        reference::floodFill(bytesOf(drawn), drawn.width, drawn.height, parameters, {}, top);
    groups = plain.groupCount;
    for (const int n : {1, 2, 7}) {
      workers::setCount(n);
      Layer layer = labelled(drawn);
      countGroups(layer, settings);
      ASSERT_EQ(layer.pixelCount, plain.pixelCount);
      ASSERT_EQ(layer.groups.size(), plain.groups.size());
      for (uint32_t id = 1; id < layer.groups.size(); ++id) {
        ASSERT_EQ(layer.groups[id].id, id);
        ASSERT_EQ(countsOf(layer.groups[id]), countsOf(*plain.groups[id]))
            << "group " << id << ", " << n << " workers";
      }
    }
  }

  Random random{41};
  reference::Parameters parameters;
  std::size_t groups = 0;
  const int usual = workers::count();
};

TEST_F(GroupCounts, OfSoManySinglePixelsThatFewTasksMayCountThemAll) {
  Picture layer = emptyPicture(600, 600);
  for (std::size_t y = 0; y < 600; y += 2) {
    for (std::size_t x = 0; x < 600; x += 2) layer.pixels[y * 600 + x] = randomPixel();
  }
  expectPlainCounts(layer);
  EXPECT_EQ(groups, 90'000u);
}

TEST_F(GroupCounts, OfNoiseBetweenRowsOfLongRuns) {
  Picture layer = emptyPicture(700, 700);
  for (std::size_t y = 0; y < 700; ++y) {
    const uint32_t meanRun = random.oneIn(2) ? 2 : 200;
    bool solid = random.oneIn(2);
    for (std::size_t x = 0; x < 700; ++x) {
      if (random.oneIn(meanRun)) solid = !solid;
      if (solid) layer.pixels[y * 700 + x] = randomPixel();
    }
  }
  expectPlainCounts(layer);
  EXPECT_GT(groups, 4096u);
}

TEST_F(GroupCounts, OfGroupsThroughEveryBandOfRows) {
  Picture layer = emptyPicture(700, 700);
  for (std::size_t i = 0; i < layer.pixels.size(); ++i) {
    if (i % 10 < 8) layer.pixels[i] = randomPixel();
  }
  expectPlainCounts(layer);
  EXPECT_EQ(groups, 70u);
}

TEST_F(GroupCounts, OfTheWidestSlice) {
  Picture layer = emptyPicture(65535, 2);
  for (std::size_t i = 0; i < layer.pixels.size(); ++i) {
    const bool isGap = i % 65535 != 0 && i % 65535 != 65534 && random.oneIn(3);
    if (!isGap) layer.pixels[i] = randomPixel();
  }
  expectPlainCounts(layer);
  std::fill_n(layer.pixels.data(), layer.pixels.size(), materialPixel(0));
  expectPlainCounts(layer);
  EXPECT_EQ(groups, 1u);
}

}  // namespace
}  // namespace stiltforge
