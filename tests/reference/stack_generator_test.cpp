#include "reference/stack_generator.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <set>

#include "golden/golden_stack.h"
#include "reference/analyse_stack.h"

namespace stiltforge::reference {
namespace {

TEST(StackGenerator, GivesTheSameStackForASeedOnEveryPlatform) {
  std::vector<uint8_t> bytes;
  for (uint64_t seed = 0; seed < 50; ++seed) {
    const Stack stack = generateStack(seed);
    for (const auto& [key, value] : stack.parameters) {
      const auto bits = std::bit_cast<std::array<uint8_t, sizeof value>>(value);
      bytes.insert(bytes.end(), bits.begin(), bits.end());
    }
    for (const auto& slice : stack.slices) {
      bytes.insert(bytes.end(), slice.begin(), slice.end());
    }
  }
  EXPECT_EQ(golden::digest(bytes), "90dda2d9e352ec0c");
}

TEST(StackGenerator, KeepsToThePixelContractAndItsLimits) {
  for (uint64_t seed = 0; seed < 300; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    const Stack stack = generateStack(seed);
    ASSERT_EQ(stack.parameters.size(), 28u);
    ASSERT_TRUE(stack.width >= 1 && stack.width <= 96);
    ASSERT_TRUE(stack.height >= 1 && stack.height <= 96);
    ASSERT_GE(stack.slices.size(), 1u);
    ASSERT_LE(stack.slices.size(), 8u);
    for (const auto& slice : stack.slices) {
      ASSERT_EQ(slice.size(), size_t{4} * stack.width * stack.height);
      for (size_t i = 0; i < slice.size(); i += 4) {
        ASSERT_EQ(slice[i + 3], 255);
        ASSERT_TRUE(slice[i] != 0 || (slice[i + 1] == 0 && slice[i + 2] == 0));
      }
    }
  }
}

// A comparison over generated stacks only says something when the stacks reach the stages.
TEST(StackGenerator, ReachesEveryStage) {
  size_t supports = 0;
  size_t ghosts = 0;
  size_t islands = 0;
  size_t manyGroups = 0;
  std::set<uint32_t> supportsPerGroup;
  for (uint64_t seed = 0; seed < 300; ++seed) {
    for (const SliceResult& slice : analyseStack(generateStack(seed))) {
      supports += slice.supportCount;
      manyGroups += slice.groups.size() > 50;
      for (const GroupResult& group : slice.groups) {
        ghosts += group.ghostSupports.size();
        supportsPerGroup.insert(static_cast<uint32_t>(group.supports.size()));
        for (const SupportResult& support : group.supports) islands += support.isMinima;
      }
    }
  }
  EXPECT_GT(supports, 5000u);
  EXPECT_GT(ghosts, 4000u);
  EXPECT_GT(islands, 1000u);
  EXPECT_LT(islands, supports);
  EXPECT_GT(manyGroups, 5u);
  EXPECT_GT(supportsPerGroup.size(), 20u);
}

}  // namespace
}  // namespace stiltforge::reference
