#include <gtest/gtest.h>

#include <numeric>
#include <string>

#include "core/core_stack.h"
#include "golden/golden_stack.h"
#include "reference/stack_generator.h"
#include "runtime/worker_pool.h"
#include "support/group_images.h"

namespace stiltforge {
namespace {

using reference::GroupResult;
using reference::SliceResult;
using reference::SupportResult;

// What holds for every analysed stack, whatever its slices and parameters.
class StackProperties : public testing::Test {
 protected:
  // Calls check(slices) for generated stacks and for the recorded ones.
  template <typename Check>
  static void forEachStack(Check check) {
    for (uint64_t seed = 10000; seed < 10600; ++seed) {
      SCOPED_TRACE("seed " + std::to_string(seed));
      check(analyseWithCore(reference::generateStack(seed)));
      if (HasFatalFailure()) return;
    }
    for (const std::string& name : golden::stackNames()) {
      SCOPED_TRACE(name);
      check(analyseWithCore(golden::load(name).stack));
      if (HasFatalFailure()) return;
    }
  }

  static uint32_t sumOf(const std::vector<uint32_t>& counts) {
    return std::accumulate(counts.begin(), counts.end(), uint32_t{0});
  }
};

TEST_F(StackProperties, OverlapsAddUpToTheSupportedPixels) {
  forEachStack([](const std::vector<SliceResult>& slices) {
    for (std::size_t n = 0; n < slices.size(); ++n) {
      const std::size_t lower = n == 0 ? 0 : slices[n - 1].groups.size() + 1;
      for (const GroupResult& group : slices[n].groups) {
        ASSERT_EQ(sumOf(group.overlap), group.supportedPixel);
        ASSERT_LE(group.supportedPixel, group.numPixel);
        ASSERT_EQ(group.overlap.size(), lower);
        ASSERT_TRUE(n == 0 || group.overlap[0] == 0) << "the placeholder";
        ASSERT_EQ(group.islandDistance == 0, group.supportedPixel == 0);
      }
    }
  });
}

TEST_F(StackProperties, EveryPixelOfMaterialBelongsToOneGroup) {
  forEachStack([](const std::vector<SliceResult>& slices) {
    for (const SliceResult& slice : slices) {
      std::vector<uint32_t> pixels(slice.groups.size() + 1, 0);
      for (std::size_t i = 0; i < slice.pixelBuffer.size(); ++i) {
        const uint32_t pixel = slice.pixelBuffer[i];
        if (pixel >> 24 == 255) {
          ASSERT_EQ(pixel & 0xFF, 0u) << "material without a label";
          ASSERT_EQ(slice.supportedPixels[i], 0);
          continue;
        }
        ASSERT_EQ(pixel >> 24, 0x80u);
        const uint32_t label = pixel & 0xFFFFFF;
        ASSERT_TRUE(label >= 1 && label <= slice.groups.size());
        ++pixels[label];
        const GroupResult& group = slice.groups[label - 1];
        const uint32_t x = static_cast<uint32_t>(i % slice.width);
        const uint32_t y = static_cast<uint32_t>(i / slice.width);
        ASSERT_TRUE(x >= group.xMin && x < group.xMax && y >= group.yMin && y < group.yMax);
      }
      ASSERT_EQ(slice.groupCount, slice.groups.size());
      ASSERT_EQ(sumOf(pixels), slice.pixelCount);
      for (const GroupResult& group : slice.groups) {
        ASSERT_EQ(pixels[group.id], group.numPixel);
        ASSERT_LE(group.unsupportedPixelCount, group.numPixel);
        ASSERT_EQ(group.spanX + 1, group.xMax - group.xMin);
        ASSERT_EQ(group.spanY + 1, group.yMax - group.yMin);
      }
    }
  });
}

TEST_F(StackProperties, EverySupportStandsOnACandidateOfItsGroup) {
  std::size_t supports = 0;
  forEachStack([&](const std::vector<SliceResult>& slices) {
    for (std::size_t n = 0; n < slices.size(); ++n) {
      const SliceResult& slice = slices[n];
      uint32_t placed = 0;
      for (const GroupResult& group : slice.groups) {
        placed += static_cast<uint32_t>(group.supports.size());
        for (const SupportResult& support : group.supports) {
          const std::size_t index = std::size_t{support.y} * slice.width + support.x;
          ASSERT_EQ(slice.pixelBuffer.at(index), 0x80000000u + group.id);
          ASSERT_NE(slice.supportedPixels.at(index), 255);
          const std::size_t boxPixel = std::size_t{group.bitmaps.width} * (support.y - group.yMin) +
                                       (support.x - group.xMin);
          ASSERT_EQ(group.bitmaps.images[GroupImages::sample].at(4 * boxPixel), 255);
          ASSERT_EQ(group.bitmaps.images[GroupImages::support].at(4 * boxPixel), 255);
          ASSERT_EQ(slice.pixelBuffer.at(support.index), 0x80000000u + group.id) << "the seed";
          ASSERT_EQ(support.z, n + 1);
        }
      }
      supports += placed;
      ASSERT_LE(slice.supportCount, placed);
      ASSERT_TRUE(n > 0 || placed == 0);
    }
  });
  EXPECT_GT(supports, 10000u);
}

TEST_F(StackProperties, GhostsAreSupportsOfLowerLayersHeldOnceEach) {
  forEachStack([](const std::vector<SliceResult>& slices) {
    for (std::size_t n = 0; n < slices.size(); ++n) {
      for (const GroupResult& group : slices[n].groups) {
        for (std::size_t i = 0; i < group.ghostSupports.size(); ++i) {
          const reference::GhostResult& ghost = group.ghostSupports[i];
          ASSERT_LT(ghost.layerIndex, n);
          ASSERT_LT(ghost.supportIndex,
                    slices[ghost.layerIndex].groups[ghost.groupIndex - 1].supports.size());
          for (std::size_t k = 0; k < i; ++k) ASSERT_FALSE(ghost == group.ghostSupports[k]);
        }
      }
    }
  });
}

TEST(StackDeterminism, TwoRunsAgreeToTheByte) {
  for (uint64_t seed = 20000; seed < 20200; ++seed) {
    const reference::Stack stack = reference::generateStack(seed);
    ASSERT_EQ(firstDifference(analyseWithCore(stack), analyseWithCore(stack)), "") << seed;
  }
}

}  // namespace
}  // namespace stiltforge
